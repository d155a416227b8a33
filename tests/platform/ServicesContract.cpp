// The contract of WMI, firmware tables, counters and texts; that of devices is in PlatformContract.cpp.
#include "PlatformContract.h"

#include <array>
#include <thread>

#include "PortHelpers.h"
#include "platform/Text.h"

namespace orbis::tests {
namespace {

using namespace platform;

}  // namespace

TEST_P(PlatformContract, WmiReportsRowsTheirEndAndWhatItDoesNotKnow)
{
    Wmi& wmi = ports.WmiPort();
    const WmiResult disks =
        Query(wmi, u"root\\cimv2", u"SELECT * FROM Win32_DiskDrive", {u"Index", u"index", u"NoSuchProperty", u"Model"});
    EXPECT_EQ(disks.result, hresult::kWbemSFalse);
    for (const auto& row : disks.rows) {
        EXPECT_EQ(row[0].type, VariantType::Int32);
        EXPECT_EQ(row[0].payload, row[1].payload) << "property names know no case";
        EXPECT_EQ(row[2].result, hresult::kWbemNotFound);
        EXPECT_TRUE(row[3].text.has_value());
        EXPECT_TRUE(!subject->Has(Service::WmiSchema) || OpenDevice(ports.DeviceIoPort(), DrivePath(row[0].Number()), 0).IsValid());
    }
    for (const auto& row : Query(wmi, u"root\\cimv2", u"select INDEX, Name from win32_diskdrive", {u"Index", u"Model"}).rows) {
        EXPECT_EQ(row[0].result, hresult::kOk);
        EXPECT_EQ(row[1].result, hresult::kWbemNotFound) << "not selected";
    }
}

TEST_P(PlatformContract, WmiTakesANamespaceInEveryDocumentedForm)
{
    constexpr Hresult kInvalid = hresult::kWbemInvalidNamespace;
    const Hresult ofEveryWindows = subject->Has(Service::WmiSchema) ? hresult::kOk : kInvalid;
    struct Case {
        const char16_t* path;
        Hresult expected;
    };
    for (const auto& [path, expected] :
         {Case{u"root", hresult::kOk}, Case{u"ROOT\\CIMV2", hresult::kOk}, Case{u"root/cimv2", hresult::kOk},
          Case{u"\\\\.\\root\\cimv2", hresult::kOk}, Case{u"//./root/cimv2", hresult::kOk}, Case{u"\\/.\\root", hresult::kOk},
          Case{u"root\\microsoft\\windows\\storage", hresult::kOk}, Case{u"root\\wmi", hresult::kOk},
          Case{u"root\\default", hresult::kOk}, Case{u"root\\StandardCimv2", ofEveryWindows}, Case{u"", kInvalid},
          Case{u"\\root", kInvalid}, Case{u"cimv2", kInvalid}, Case{u"\\\\.", kInvalid}, Case{u"\\\\.\\none", kInvalid},
          Case{u"root\\no_such_namespace", kInvalid}, Case{u"root\\\\cimv2", kInvalid}, Case{u"root\\cimv2\\", kInvalid},
          Case{u"\\\\\\.\\root", hresult::kWbemInvalidParameter}}) {
        EXPECT_EQ(WmiSession(ports.WmiPort()).Connect(path), expected) << Utf16ToUtf8(path);
    }
}

TEST_P(PlatformContract, WmiReportsErrorsOfQueries)
{
    const char16_t* const query = u"SELECT * FROM Win32_DiskDrive";
    const char16_t* const unknown = u"SELECT * FROM No_Such_Class";
    struct Case {
        const char16_t* language;
        const char16_t* text;
        std::int32_t flags;
        Hresult expected;
    };
    WmiSession session(ports.WmiPort());
    ASSERT_EQ(session.Connect(u"root\\cimv2"), hresult::kOk);
    for (const auto& [language, text, flags, expected] :
         {Case{u"wql", query, 0, hresult::kOk}, Case{u"SQL", query, 0, hresult::kWbemInvalidQueryType},
          Case{u"SQL", query, kForwardOnlyImmediate, hresult::kWbemInvalidQueryType},
          Case{u"SQL", nullptr, 0, hresult::kWbemInvalidParameter}, Case{nullptr, query, 0, hresult::kWbemInvalidParameter},
          Case{u"WQL", u"", 0, hresult::kWbemInvalidParameter}, Case{u"WQL", u"no query", 0, hresult::kWbemInvalidQuery},
          Case{u"WQL", u"SELECT Index Model FROM Win32_DiskDrive", 0, hresult::kWbemInvalidQuery},
          Case{u"WQL", unknown, 0, subject->Has(Service::WmiSchema) ? hresult::kWbemInvalidClass : hresult::kOk}}) {
        EXPECT_EQ(session.Execute(language, text, flags), expected) << (text != nullptr ? Utf16ToUtf8(text) : "null");
    }
    // A semisynchronous query tells of the class in its first Next.
    EXPECT_EQ(session.Execute(u"WQL", unknown, kForwardOnlyImmediate), hresult::kOk);
    ComObject* row = nullptr;
    std::uint32_t returned = 1;
    EXPECT_EQ(ports.WmiPort().Next(session.Enumerator(), 0xFFFFFFFF, &row, &returned),
              subject->Has(Service::WmiSchema) ? hresult::kWbemInvalidClass : hresult::kWbemSFalse);
    EXPECT_EQ(returned, 0U);
    EXPECT_EQ(row, nullptr);
}

TEST_P(PlatformContract, AThreadKeepsTheComModelThatItChoseFirst)
{
    Wmi& wmi = ports.WmiPort();
    const auto tryBoth = [&](std::uint32_t first, std::uint32_t second) {
        std::thread([&] {
            EXPECT_EQ(wmi.InitializeCom(first), hresult::kOk);
            EXPECT_EQ(wmi.InitializeCom(first), hresult::kFalse) << "again";
            EXPECT_EQ(wmi.InitializeCom(second), hresult::kRpcChangedMode);
            ComObject* locator = nullptr;
            EXPECT_EQ(wmi.CreateLocator(&locator), hresult::kOk);
            wmi.Release(locator);
            wmi.UninitializeCom();
            wmi.UninitializeCom();
            EXPECT_EQ(wmi.InitializeCom(second), hresult::kOk) << "a new apartment";
            wmi.UninitializeCom();
        }).join();
    };
    constexpr std::uint32_t kApartmentThreaded = 2;
    tryBoth(0, kApartmentThreaded);
    tryBoth(kApartmentThreaded, 0);
}

TEST_P(PlatformContract, StringsKeepTheirLengthAndNothingIsFreedTwice)
{
    Wmi& wmi = ports.WmiPort();
    const ComString text(wmi, wmi.AllocateString(u"two"));
    EXPECT_EQ(wmi.StringLength(text.Get()), 3U);
    EXPECT_EQ(std::u16string(text.Get()), u"two");
    EXPECT_EQ(wmi.StringLength(nullptr), 0U);
    wmi.FreeString(nullptr);
    wmi.Release(nullptr);
    Variant empty;
    wmi.ClearVariant(&empty);
    EXPECT_EQ(empty.type, VariantType::Empty);
}

TEST_P(PlatformContract, FirmwareTablesAreAskedForTwice)
{
    Firmware& firmware = ports.FirmwarePort();
    EXPECT_EQ(firmware.SystemFirmwareTable(0x4E4F4E45, 0, nullptr, 0), 0U);
    EXPECT_EQ(firmware.LastError(), win32::kInvalidFunction);
    const std::uint32_t needed = firmware.SystemFirmwareTable(kFirmwareProviderSmbios, 0, nullptr, 0);
    if (needed == 0) {
        return;
    }
    std::vector<std::uint8_t> table(needed + 8, 0xA5);
    EXPECT_EQ(firmware.SystemFirmwareTable(kFirmwareProviderSmbios, 0, table.data(), needed - 1), needed);
    EXPECT_EQ(firmware.LastError(), win32::kInsufficientBuffer);
    EXPECT_EQ(table[0], 0xA5) << "a short buffer stays untouched";
    EXPECT_EQ(firmware.SystemFirmwareTable(kFirmwareProviderSmbios, 0, table.data(), needed), needed);
    EXPECT_EQ(table[needed], 0xA5);
}

namespace {

class CounterQuery final {
public:
    explicit CounterQuery(Pdh& pdh) : m_Pdh(pdh) { EXPECT_EQ(pdh.OpenQuery(nullptr, 0, &m_Query), pdh::kOk); }
    CounterQuery(const CounterQuery&) = delete;
    CounterQuery& operator=(const CounterQuery&) = delete;
    ~CounterQuery() { m_Pdh.CloseQuery(m_Query); }
    [[nodiscard]] PdhQueryObject* Get() const { return m_Query; }
    PdhStatus Add(const std::u16string& path, PdhCounterObject** counter)
    {
        return m_Pdh.AddEnglishCounter(m_Query, path.c_str(), 0, counter);
    }

private:
    Pdh& m_Pdh;
    PdhQueryObject* m_Query = nullptr;
};

}  // namespace

TEST_P(PlatformContract, CountersNeedTwoSamplesAndReportUnknownNames)
{
    if (!subject->Has(Service::DiskCounters)) {
        return;
    }
    Pdh& pdh = ports.PdhPort();
    std::uint32_t characters = 0;
    EXPECT_EQ(pdh.EnumInstances(u"NoSuchObject", nullptr, &characters), pdh::kNoObject);
    characters = 0;
    ASSERT_EQ(pdh.EnumInstances(u"PhysicalDisk", nullptr, &characters), pdh::kMoreData);
    std::u16string names(characters, u'#');
    ASSERT_EQ(pdh.EnumInstances(u"PhysicalDisk", names.data(), &characters), pdh::kOk);
    EXPECT_EQ(names.substr(characters - 2), std::u16string(2, u'\0'));
    EXPECT_NE(names.find(u"_Total"), std::u16string::npos);

    EXPECT_EQ(pdh.EnumInstances(u"PhysicalDisk", nullptr, &characters), pdh::kInvalidArgument)
        << "no buffer of that many characters";

    CounterQuery listing(pdh);
    PdhCounterObject* every = nullptr;
    ASSERT_EQ(listing.Add(u"\\PhysicalDisk(*)\\% Idle Time", &every), pdh::kOk);
    EXPECT_EQ(pdh.CounterInstances(every, nullptr, &(characters = 0)), pdh::kInvalidData) << "no sample yet";
    ASSERT_EQ(pdh.CollectQueryData(listing.Get()), pdh::kOk);
    EXPECT_EQ(pdh.CounterInstances(every, nullptr, &(characters = 0)), pdh::kMoreData);
    std::u16string sampled(characters, u'#');
    EXPECT_EQ(pdh.CounterInstances(every, sampled.data(), &--characters), pdh::kMoreData);
    ASSERT_EQ(pdh.CounterInstances(every, sampled.data(), &characters), pdh::kOk);
    EXPECT_EQ(sampled, names);

    CounterQuery query(pdh);
    EXPECT_EQ(pdh.CollectQueryData(query.Get()), pdh::kNoData) << "no counter yet";
    PdhCounterObject* idle = nullptr;
    PdhCounterObject* bytes = nullptr;
    EXPECT_EQ(query.Add(u"\\PhysicalDisk(_Total)\\No such counter", &idle), pdh::kNoCounter);
    ASSERT_EQ(query.Add(u"\\PhysicalDisk(_Total)\\% Idle Time", &idle), pdh::kOk);
    ASSERT_EQ(query.Add(u"\\PhysicalDisk(_Total)\\Disk Read Bytes/sec", &bytes), pdh::kOk);
    PdhCounterObject* later = nullptr;
    ASSERT_EQ(query.Add(u"\\PhysicalDisk(4711 X:)\\% Idle Time", &later), pdh::kOk) << "the instance may appear later";
    PdhCounterValue value;
    ASSERT_EQ(pdh.CollectQueryData(query.Get()), pdh::kOk);
    EXPECT_EQ(pdh.FormattedValue(later, pdh::kFormatDouble, &value), pdh::kNotValidYet);
    EXPECT_EQ(value.status, pdh::kNoInstance);
    EXPECT_EQ(pdh.FormattedValue(bytes, pdh::kFormatDouble, &value), pdh::kNotValidYet) << "a rate before its second sample";
    subject->Advance(std::chrono::milliseconds(100));
    ASSERT_EQ(pdh.CollectQueryData(query.Get()), pdh::kOk);
    ASSERT_EQ(pdh.FormattedValue(bytes, pdh::kFormatDouble, &value), pdh::kOk);
    EXPECT_GE(value.value, 0);
    ASSERT_EQ(pdh.FormattedValue(idle, pdh::kFormatDouble, &value), pdh::kOk);
    EXPECT_TRUE(value.value >= 0 && value.value <= 100) << value.value;
}

TEST_P(PlatformContract, TextIsMeasuredFirstAndNeverInvalid)
{
    Text& text = ports.TextPort();
    const std::u16string wide = u"a\u00e9\u20ac\xD83D\xDCBE\xD800z";
    const std::int32_t needed = text.WideToUtf8(wide.data(), static_cast<std::int32_t>(wide.size()), nullptr, 0);
    std::string narrow(static_cast<std::size_t>(needed), '#');
    ASSERT_EQ(text.WideToUtf8(wide.data(), static_cast<std::int32_t>(wide.size()), narrow.data(), needed), needed);
    EXPECT_EQ(narrow, "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x92\xBE\xEF\xBF\xBDz");
    EXPECT_EQ(text.WideToUtf8(wide.data(), static_cast<std::int32_t>(wide.size()), narrow.data(), needed - 1), 0);

    // A length of -1 ends with a zero, which is converted too.
    std::array<char, 4> terminated{'#', '#', '#', '#'};
    EXPECT_EQ(text.WideToUtf8(u"ab", -1, terminated.data(), 4), 3);
    EXPECT_EQ(terminated, (std::array{'a', 'b', '\0', '#'}));
    EXPECT_EQ(text.DefaultToWide("ab", -1, nullptr, 0), 3);
    EXPECT_EQ(text.WideToUtf8(u"ab", 0, terminated.data(), 4), 0);
    EXPECT_EQ(text.WideToUtf8(nullptr, 2, terminated.data(), 4), 0);

    const std::int32_t characters = text.DefaultToWide("ascii \xFF\xFE", 8, nullptr, 0);
    std::u16string decoded(static_cast<std::size_t>(characters), u'#');
    ASSERT_EQ(text.DefaultToWide("ascii \xFF\xFE", 8, decoded.data(), characters), characters);
    EXPECT_EQ(decoded.substr(0, 6), u"ascii ");
    EXPECT_GT(characters, 6);
}

}  // namespace orbis::tests
