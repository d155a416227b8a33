#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Common/WmiQuery.h"

namespace Veyra::Orbis::Cpp::Common {

// Codes of WMI namespaces. Any other value also means "root\cimv2".
enum class WmiNamespace : std::uint16_t {
    Wmi = 1,                        // root\WMI
    CimV2 = 2,                      // root\cimv2
    StandardCimV2 = 3,              // root\StandardCimv2
    MicrosoftVolumeEncryption = 4,  // root\cimv2\Security\MicrosoftVolumeEncryption
    Storage = 5,                    // root\microsoft\windows\storage
    Power = 6,                      // root\cimv2\power
};

// One WQL query over one WMI namespace, its rows read one after the other:
//
//     for (WmiCommonLib rows(u"SELECT * FROM Win32_DiskDrive", WmiNamespace::CimV2); !rows.IsEnd(); rows.Next()) {
//         const std::string model = rows.GetStringByField(u"Model");
//     }
//
// Every failure is thrown as ResultException. Create, use and destroy an object on one thread.
class WmiCommonLib {
public:
    // Connects, runs the query and fetches the first row.
    WmiCommonLib(const std::u16string& query, WmiNamespace namespaceCode);

    // True when the last fetch delivered no row.
    [[nodiscard]] bool IsEnd() const noexcept { return m_Query->ReturnedCount() == 0; }
    // Releases the current row and fetches the next one.
    void Next();

    // The getters read a property of the current row; call them only while IsEnd() is false. Text, boolean and array getters throw
    // when the property is NULL or of another type. The 32-bit getters ignore the type: they return the low 32 bits of the value in
    // memory, and 0 for NULL.

    // Text as UTF-8.
    [[nodiscard]] std::string GetStringByField(const char16_t* name) const;
    [[nodiscard]] std::u16string GetWstringByField(const char16_t* name) const;
    [[nodiscard]] std::vector<std::uint8_t> GetUint8ArrayByField(const char16_t* name) const;
    // Texts as UTF-8, each up to its first zero character.
    [[nodiscard]] std::vector<std::string> GetStringArrayByField(const char16_t* name) const;
    [[nodiscard]] std::int32_t GetInt32ByField(const char16_t* name) const;
    [[nodiscard]] std::uint32_t GetUint32ByField(const char16_t* name) const;
    // WMI delivers 64-bit integers as decimal text. Text that is not a number gives 0; a number above 2^63 - 1 gives 2^63 - 1,
    // because it is read as a signed number.
    [[nodiscard]] std::uint64_t GetUint64ByField(const char16_t* name) const;
    [[nodiscard]] bool GetBoolByField(const char16_t* name) const;

private:
    std::unique_ptr<WmiQuery> m_Query;
};

}  // namespace Veyra::Orbis::Cpp::Common
