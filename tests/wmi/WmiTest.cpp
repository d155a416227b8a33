// The WMI layer: what it asks, in which order, what it makes of the answers, and that it gives everything back.
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "Common/ResultException.h"
#include "Common/WideText.h"
#include "Common/WmiCommonLib.h"
#include "Common/WmiQuery.h"
#include "MachineInForce.h"
#include "Raises.h"
#include "WmiTrace.h"

namespace Veyra::Orbis::Cpp::Common {
namespace {

using orbis::fakes::ExpectRaises;
using orbis::fakes::MachineInForce;
using orbis::tests::WmiTrace;
using enum orbis::simulated::FaultKind;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace hresult = orbis::platform::hresult;

constexpr auto kQuery = u"SELECT * FROM Some_Class";

// A machine with one row of one property, as a machine file gives it.
std::string OneRow(const std::string& property)
{
    return "wmi_class { name: 'Some_Class' row { property { name: 'P' " + property + " } } }";
}

// Reads property P of the first row with a getter.
template <auto getter>
auto Read()
{
    const WmiCommonLib rows(kQuery, WmiNamespace::CimV2);
    return (rows.*getter)(u"P");
}
template <auto getter>
auto ReadOf(const std::string& property)
{
    const MachineInForce machine(OneRow(property));
    return Read<getter>();
}

TEST(WmiTest, EveryFailureCarriesResultUnitAndLine)
{
    const auto construct = [] { const WmiCommonLib rows(kQuery, WmiNamespace::CimV2); };
    const auto string = [] { static_cast<void>(Read<&WmiCommonLib::GetStringByField>()); };
    const auto wide = [] { static_cast<void>(Read<&WmiCommonLib::GetWstringByField>()); };
    const auto bytes = [] { static_cast<void>(Read<&WmiCommonLib::GetUint8ArrayByField>()); };
    const auto texts = [] { static_cast<void>(Read<&WmiCommonLib::GetStringArrayByField>()); };
    const auto int32 = [] { static_cast<void>(Read<&WmiCommonLib::GetInt32ByField>()); };
    const auto uint32 = [] { static_cast<void>(Read<&WmiCommonLib::GetUint32ByField>()); };
    const auto uint64 = [] { static_cast<void>(Read<&WmiCommonLib::GetUint64ByField>()); };
    const auto boolean = [] { static_cast<void>(Read<&WmiCommonLib::GetBoolByField>()); };
    const std::string denied = "get_error: 0x80070005";
    constexpr Hresult kDenied = hresult::kAccessDenied;
    constexpr Hresult kUnexpected = hresult::kUnexpected;
    struct Case {
        std::int32_t line;
        std::function<void()> use;
        std::string property;
        Hresult result;
        const char* operation = nullptr;  // that fails; without one, the property does
        int nth = 1;
        orbis::simulated::FaultKind kind = Error;
    };
    const std::vector<Case> cases{
        {34, construct, "i4: 7", hresult::kOutOfMemory, "Wmi::AllocateString", 1, Null},
        {35, construct, "i4: 7", kDenied, "Wmi::CreateLocator"},
        {36, construct, "i4: 7", kDenied, "Wmi::ConnectServer"},
        {37, construct, "i4: 7", kDenied, "Wmi::SetProxyBlanket"},
        {42, [] { WmiQuery().Execute(kQuery); }, "i4: 7", hresult::kFail},
        {44, construct, "i4: 7", hresult::kOutOfMemory, "Wmi::AllocateString", 2, Null},
        {46, construct, "i4: 7", hresult::kOutOfMemory, "Wmi::AllocateString", 3, Null},
        {48, construct, "i4: 7", kDenied, "Wmi::ExecQuery"},
        {57, construct, "i4: 7", kUnexpected, "Wmi::ExecQuery", 1, Null},
        {65, construct, "i4: 7", kDenied, "Wmi::Next", 1},
        {65, [] { WmiCommonLib(kQuery, WmiNamespace::CimV2).Next(); }, "i4: 7", kDenied, "Wmi::Next", 2},
        {74, string, denied, kDenied},
        // The pointer is looked at before the type.
        {75, string, "null: true", kUnexpected},
        {75, string, "null_text: true", kUnexpected},
        {76, string, "i4: 7", kUnexpected},
        {82, wide, denied, kDenied},
        {83, wide, "null: true", kUnexpected},
        {84, wide, "i4: 7", kUnexpected},
        {91, bytes, denied, kDenied},
        {93, bytes, "byte_array { content { hex: '0102' } bound_error: 0x80070005 }", kDenied},
        {93, bytes, "null: true", hresult::kInvalidArgument},
        {93, bytes, "string_array { element { text: 'a' } }", hresult::kInvalidArgument},
        {97, bytes, "byte_array { content { hex: '0102' } element_error: 0x8002000B failing_index: 1 }", hresult::kDispBadIndex},
        {116, texts, denied, kDenied},
        {116, texts, "null: true", kUnexpected},
        {123, texts, "string_array { element { text: 'a' } element_error: 0x80070005 }", kDenied},
        {124, texts, "string_array { element { text: 'a' } element { null: true } }", kUnexpected},
        {132, int32, denied, kDenied},
        {144, uint32, denied, kDenied},
        {150, uint64, denied, kDenied},
        {151, uint64, "null: true", kUnexpected},
        {152, uint64, "i4: 7", kUnexpected},
        {158, boolean, denied, kDenied},
        {159, boolean, "null: true", kUnexpected},
        {160, boolean, "text: 'x'", kUnexpected},
    };
    for (const auto& [line, use, property, result, operation, nth, kind] : cases) {
        SCOPED_TRACE(property);
        MachineInForce machine(OneRow(property));
        const auto denial = static_cast<std::uint32_t>(kDenied);
        ASSERT_TRUE(operation == nullptr || machine.FailNth(operation, nth, kind, denial, use));
        ExpectRaises(use, line < 50 ? "cpp\\Common\\src\\WmiQuery" : "cpp\\Common\\src\\WmiCommonLib", line, result);
    }
}

TEST(WmiTest, AsksInOrderAndReleasesBackwards)
{
    const MachineInForce machine(R"(wmi_class { wmi_namespace: "root\\microsoft\\windows\\storage" name: "C"
                                                row { property { name: "P" ui4: 1 } } row { property { name: "P" ui4: 2 } } })");
    WmiTrace trace;
    {
        WmiCommonLib rows(u"SELECT P FROM C", WmiNamespace::Storage);
        EXPECT_EQ(rows.GetUint32ByField(u"P"), 1U);
        rows.Next();
        EXPECT_FALSE(rows.IsEnd());
    }
    EXPECT_THAT(trace.calls,
                ElementsAre("InitializeCom 0", "InitializeSecurity -1 0 3 0", "AllocateString root\\microsoft\\windows\\storage",
                            "CreateLocator", "ConnectServer root\\microsoft\\windows\\storage", "SetProxyBlanket 10 0 3 3 0",
                            "FreeString root\\microsoft\\windows\\storage", "AllocateString SELECT P FROM C", "AllocateString WQL",
                            "ExecQuery WQL SELECT P FROM C 48", "FreeString WQL", "FreeString SELECT P FROM C", "Next 4294967295",
                            "Get P", "Release row", "Next 4294967295", "Release row", "Release enumerator", "Release services",
                            "Release locator", "UninitializeCom"));
}

TEST(WmiTest, ReleasesObjectOfFailedConnection)
{
    const MachineInForce machine(OneRow("i4: 7"));
    WmiTrace trace;
    trace.isConnectionRefused = true;
    EXPECT_THROW(WmiCommonLib(kQuery, WmiNamespace::CimV2), ResultException);
    EXPECT_THAT(trace.calls, Contains("Release services"));
}

TEST(WmiTest, ReleasesWhatWasThereBeforeItAsksAgain)
{
    const MachineInForce machine(OneRow("i4: 7"));
    WmiTrace trace;
    {
        WmiQuery query;
        const char16_t* const path = u"root\\cimv2";
        query.Connect(path);
        query.Execute(kQuery);
        trace.calls.clear();
        query.Connect(path);
        query.Execute(kQuery);
    }
    std::vector<std::string> released;
    std::ranges::copy_if(trace.calls, std::back_inserter(released), [](const std::string& call) {
        return call.starts_with("Release") || call.starts_with("C") || call.starts_with("E");
    });
    EXPECT_THAT(released, ElementsAre("Release locator", "CreateLocator", "Release services", "ConnectServer root\\cimv2",
                                      "Release enumerator", "ExecQuery WQL SELECT * FROM Some_Class 48", "Release enumerator",
                                      "Release services", "Release locator"));
}

TEST(WmiTest, EndsAtOnceWithoutRows)
{
    const MachineInForce machine("wmi_class { name: 'Some_Class' }");
    EXPECT_TRUE(WmiCommonLib(kQuery, WmiNamespace::CimV2).IsEnd());
}

TEST(WmiTest, KnowsSixNamespacesAndTakesAnyOtherCodeForCimV2)
{
    const MachineInForce machine("");
    WmiTrace trace;
    const std::vector<std::pair<int, std::string>> paths{{0, "root\\cimv2"},
                                                         {1, "root\\WMI"},
                                                         {2, "root\\cimv2"},
                                                         {3, "root\\StandardCimv2"},
                                                         {4, "root\\cimv2\\Security\\MicrosoftVolumeEncryption"},
                                                         {5, "root\\microsoft\\windows\\storage"},
                                                         {6, "root\\cimv2\\power"},
                                                         {7, "root\\cimv2"},
                                                         {0xFFFF, "root\\cimv2"}};
    for (const auto& [code, path] : paths) {
        trace.calls.clear();
        // The machine knows neither the class nor some of the namespaces.
        EXPECT_THROW(WmiCommonLib(kQuery, static_cast<WmiNamespace>(code)), ResultException);
        EXPECT_THAT(trace.calls, Contains("ConnectServer " + path)) << code;
    }
}

// ---- COM ----

TEST(WmiTest, ComAndSecurityThatAreThereAlreadyAreNoFailure)
{
    const MachineInForce machine(OneRow("i4: 7"));
    WmiTrace trace;
    const WmiCommonLib first(kQuery, WmiNamespace::CimV2);
    trace.calls.clear();
    EXPECT_EQ(Read<&WmiCommonLib::GetInt32ByField>(), 7);
    EXPECT_THAT(trace.calls, Contains("InitializeSecurity -1 0 3 0"));
}

TEST(WmiTest, UninitialisesComEvenWhereItsInitialisationFailed)
{
    const MachineInForce machine(OneRow("i4: 7"));
    WmiTrace trace;
    constexpr std::uint32_t kApartmentThreaded = 2;
    EXPECT_EQ(machine->WmiPort().InitializeCom(kApartmentThreaded), hresult::kOk);
    EXPECT_EQ(Read<&WmiCommonLib::GetInt32ByField>(), 7);
    EXPECT_THAT(trace.calls, ::testing::Not(Contains(::testing::StartsWith("InitializeSecurity"))));
    EXPECT_EQ(machine->OpenObjects().comInitialisations, 0)
        << "the initialisation of the apartment's owner is undone; this imbalance is intentional";
}

// ---- Values ----

TEST(WmiTest, ReadsTexts)
{
    constexpr auto read = [](const std::string& property) { return ReadOf<&WmiCommonLib::GetStringByField>(property); };
    EXPECT_EQ(read("text: 'Gr\u00FC\u00DFe \U0001F4BE'"), "Gr\u00FC\u00DFe \U0001F4BE");
    EXPECT_EQ(read("utf16: 'D800'"), "\uFFFD");
    EXPECT_EQ(read("text: ''"), "");
    EXPECT_EQ(read("utf16: '0061 0000 0062'"), std::string("a\0b", 3));
    EXPECT_EQ(ReadOf<&WmiCommonLib::GetWstringByField>("utf16: '0061 D800'"), (std::u16string{u'a', 0xD800}));
}

TEST(WmiTest, ReadsNumbersWhateverTheirType)
{
    constexpr auto uint32 = [](const std::string& property) { return ReadOf<&WmiCommonLib::GetUint32ByField>(property); };
    constexpr auto boolean = [](const std::string& property) { return ReadOf<&WmiCommonLib::GetBoolByField>(property); };
    EXPECT_EQ(uint32("i4: -1"), 0xFFFFFFFFU);
    EXPECT_EQ(ReadOf<&WmiCommonLib::GetInt32ByField>("i4: -1"), -1);
    EXPECT_EQ(uint32("variant { type: 5 payload: 0x3FF0000012345678 }"), 0x12345678U);
    EXPECT_EQ(uint32("variant { type: 1 payload: 9 }"), 0U);
    EXPECT_EQ(ReadOf<&WmiCommonLib::GetInt32ByField>("variant { type: 1 payload: 9 }"), 0);
    EXPECT_TRUE(boolean("boolean: true"));
    EXPECT_TRUE(boolean("variant { type: 11 payload: 1 }"));
    EXPECT_FALSE(boolean("variant { type: 11 payload: 0x10000 }"));
}

TEST(WmiTest, Reads64BitNumbersAsSignedDecimalText)
{
    constexpr auto read = [](const std::string& text) { return ReadOf<&WmiCommonLib::GetUint64ByField>("text: '" + text + "'"); };
    EXPECT_EQ(read("123456789012"), 123456789012U);
    EXPECT_EQ(read("-1"), 0xFFFFFFFFFFFFFFFFU);
    // Intentional: the largest unsigned number is read as the largest signed one.
    EXPECT_EQ(read("18446744073709551615"), 0x7FFFFFFFFFFFFFFFU);
}

TEST(WmiTest, ReadsArrays)
{
    constexpr auto bytes = [](const std::string& hex) {
        return ReadOf<&WmiCommonLib::GetUint8ArrayByField>("byte_array { content { hex: '" + hex + "' } }");
    };
    constexpr auto texts = [](const std::string& elements) {
        return ReadOf<&WmiCommonLib::GetStringArrayByField>("string_array { " + elements + " }");
    };
    EXPECT_THAT(bytes("00FF07"), ElementsAre(0, 255, 7));
    EXPECT_THAT(bytes(""), IsEmpty());
    EXPECT_THAT(texts("element { text: 'a' } element {} element { text: '\u00E9' } lower_bound: -1"),
                ElementsAre("a", "", "\u00E9"));
    EXPECT_THAT(texts(R"(element { text: "a\0b" })"), ElementsAre("a"));
    EXPECT_THAT(texts("lower_bound: 5"), IsEmpty());
}

// ---- Conversions ----

TEST(WideTextTest, NumbersReadAsTheMicrosoftCLibraryReadsThem)
{
    EXPECT_EQ(WideToInt64(u"0"), 0);
    EXPECT_EQ(WideToInt64(u""), 0);
    EXPECT_EQ(WideToInt64(u"disk"), 0);
    EXPECT_EQ(WideToInt64(u" \t\n\v\f\r\u00A0\u3000+42 "), 42);
    EXPECT_EQ(WideToInt64(u"-42abc"), -42);
    EXPECT_EQ(WideToInt64(u"+-1"), 0);
    EXPECT_EQ(WideToInt64(u"- 1"), 0);
    EXPECT_EQ(WideToInt64(u"0x10"), 0);
    EXPECT_EQ(WideToInt64(u"9223372036854775807"), INT64_MAX);
    EXPECT_EQ(WideToInt64(u"9223372036854775808"), INT64_MAX);
    EXPECT_EQ(WideToInt64(u"-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(WideToInt64(u"-9223372036854775809"), INT64_MIN);
    EXPECT_EQ(WideToInt64(u"-99999999999999999999999"), INT64_MIN);
    EXPECT_EQ(WideToInt64(u"\uFF11\u0662"), 12) << "full-width and Arabic-Indic digits";
}

TEST(WideTextTest, TextLongerThanTheConversionTakesIsRefusedUnread)
{
    const std::u16string_view huge(u"", std::size_t{0x80000000});
    try {
        static_cast<void>(WideToUtf8(huge));
        FAIL() << "nothing was thrown";
    } catch (const ResultException& failure) {
        EXPECT_EQ(failure.Result(), orbis::platform::HresultFromWin32(534)) << failure.what();
        EXPECT_EQ(failure.Unit(), "cpp\\Common\\src\\WideText");
    }
}

}  // namespace
}  // namespace Veyra::Orbis::Cpp::Common
