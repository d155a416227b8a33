// The WMI layer over a scripted port: what it asks, in which order, what it makes of the answers, and that it gives everything
// back.
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "Common/ResultException.h"
#include "Common/WideText.h"
#include "Common/WmiCommonLib.h"
#include "Common/WmiQuery.h"
#include "FakeWmi.h"

namespace Veyra::Orbis::Cpp::Common {
namespace {

using orbis::fakes::FakeProperty;
using orbis::fakes::FakeWmi;
using orbis::fakes::FakeWmiMachine;
using orbis::fakes::WmiBalance;
using orbis::platform::VariantType;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace hresult = orbis::platform::hresult;

constexpr auto kQuery = u"SELECT * FROM Some_Class";

class WmiTest : public ::testing::Test {
protected:
    ~WmiTest() override
    {
        EXPECT_EQ(Wmi().balance, m_Balance);
        EXPECT_THAT(Wmi().misuses, IsEmpty());
    }

    FakeWmi& Wmi() { return m_Machine.wmi; }
    [[nodiscard]] WmiCommonLib OneRow(FakeProperty property)
    {
        Wmi().rows = {{{u"P", std::move(property)}}};
        return {kQuery, WmiNamespace::CimV2};
    }

    // What is held at the end of the test.
    WmiBalance m_Balance{};

private:
    FakeWmiMachine m_Machine;
};

// ---- Failure lines ----

struct FailureCase {
    const char* name;
    FakeProperty property;
    std::function<void(FakeWmi&)> script;
    std::function<void()> act;
    Hresult result;
    const char* unit;
    std::int32_t line;
};

void PrintTo(const FailureCase& failure, std::ostream* out) { *out << failure.name; }

constexpr auto kQueryUnit = "cpp\\Common\\src\\WmiQuery";
constexpr auto kLibUnit = "cpp\\Common\\src\\WmiCommonLib";

std::function<void(FakeWmi&)> Fail(const char* operation, Hresult result, int call = 0)
{
    return [=](FakeWmi& wmi) { wmi.Fail(operation, result, call); };
}

void Construct() { const WmiCommonLib rows(kQuery, WmiNamespace::CimV2); }

// Reads property P of the first row with a getter.
template <auto getter>
void Read()
{
    const WmiCommonLib rows(kQuery, WmiNamespace::CimV2);
    static_cast<void>((rows.*getter)(u"P"));
}

constexpr auto kString = &Read<&WmiCommonLib::GetStringByField>;
constexpr auto kWide = &Read<&WmiCommonLib::GetWstringByField>;
constexpr auto kBytes = &Read<&WmiCommonLib::GetUint8ArrayByField>;
constexpr auto kTexts = &Read<&WmiCommonLib::GetStringArrayByField>;
constexpr auto kInt32 = &Read<&WmiCommonLib::GetInt32ByField>;
constexpr auto kUint32 = &Read<&WmiCommonLib::GetUint32ByField>;
constexpr auto kUint64 = &Read<&WmiCommonLib::GetUint64ByField>;
constexpr auto kBool = &Read<&WmiCommonLib::GetBoolByField>;

class WmiFailure : public WmiTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(WmiFailure, CarriesResultUnitAndLine)
{
    const FailureCase& expected = GetParam();
    Wmi().rows = {{{u"P", expected.property}}};
    if (expected.script) {
        expected.script(Wmi());
    }
    try {
        expected.act();
        FAIL() << "nothing was thrown";
    } catch (const ResultException& failure) {
        EXPECT_EQ(failure.Result(), expected.result) << failure.what();
        EXPECT_EQ(failure.Unit(), expected.unit);
        EXPECT_EQ(failure.Line(), expected.line);
    }
}

const FakeProperty kNull = FakeProperty::Null();
const FakeProperty kNumber = FakeProperty::Number(VariantType::Int32, 7);
const FakeProperty kNoText = FakeProperty::Text(std::nullopt);
const FakeProperty kSomeText = FakeProperty::Text(u"x");
const FakeProperty kSomeBytes = FakeProperty::Bytes({1, 2});
const FakeProperty kSomeTexts = FakeProperty::Texts({u"a", std::nullopt});
constexpr Hresult kDenied = hresult::kAccessDenied;
constexpr Hresult kUnexpected = hresult::kUnexpected;

INSTANTIATE_TEST_SUITE_P(
    Lines, WmiFailure,
    ::testing::Values(
        FailureCase{"path", {}, Fail("AllocateString", 0, 0), Construct, hresult::kOutOfMemory, kQueryUnit, 34},
        FailureCase{"locator",
                    {},
                    Fail("CreateLocator", hresult::kClassNotRegistered),
                    Construct,
                    hresult::kClassNotRegistered,
                    kQueryUnit,
                    35},
        FailureCase{"connect", {}, Fail("ConnectServer", kDenied), Construct, kDenied, kQueryUnit, 36},
        FailureCase{"blanket", {}, Fail("SetProxyBlanket", kDenied), Construct, kDenied, kQueryUnit, 37},
        FailureCase{"unconnected", {}, {}, [] { WmiQuery().Execute(kQuery); }, hresult::kFail, kQueryUnit, 42},
        FailureCase{"query", {}, Fail("AllocateString", 0, 1), Construct, hresult::kOutOfMemory, kQueryUnit, 44},
        FailureCase{"language", {}, Fail("AllocateString", 0, 2), Construct, hresult::kOutOfMemory, kQueryUnit, 46},
        FailureCase{
            "execute", {}, Fail("ExecQuery", hresult::kWbemInvalidQuery), Construct, hresult::kWbemInvalidQuery, kQueryUnit, 48},
        FailureCase{"no enumerator", {}, Fail("ExecQuery", hresult::kOk), Construct, kUnexpected, kLibUnit, 57},
        FailureCase{"first row", {}, Fail("Next", hresult::kWbemInvalidClass), Construct, hresult::kWbemInvalidClass, kLibUnit, 65},
        FailureCase{"later row",
                    {},
                    Fail("Next", hresult::kWbemFailed, 1),
                    [] { WmiCommonLib(kQuery, WmiNamespace::CimV2).Next(); },
                    hresult::kWbemFailed,
                    kLibUnit,
                    65},
        FailureCase{"string", {}, Fail("Get", kDenied), kString, kDenied, kLibUnit, 74},
        // The pointer is looked at before the type.
        FailureCase{"string NULL", kNull, {}, kString, kUnexpected, kLibUnit, 75},
        FailureCase{"string without text", kNoText, {}, kString, kUnexpected, kLibUnit, 75},
        FailureCase{"string of a number", kNumber, {}, kString, kUnexpected, kLibUnit, 76},
        FailureCase{"wide", {}, Fail("Get", kDenied), kWide, kDenied, kLibUnit, 82},
        FailureCase{"wide NULL", kNull, {}, kWide, kUnexpected, kLibUnit, 83},
        FailureCase{"wide of a number", kNumber, {}, kWide, kUnexpected, kLibUnit, 84},
        FailureCase{"bytes", {}, Fail("Get", kDenied), kBytes, kDenied, kLibUnit, 91},
        FailureCase{"bytes without bound", kSomeBytes, Fail("ArrayUpperBound", kDenied), kBytes, kDenied, kLibUnit, 93},
        FailureCase{"bytes NULL", kNull, {}, kBytes, hresult::kInvalidArgument, kLibUnit, 93},
        FailureCase{"bytes of texts", kSomeTexts, {}, kBytes, hresult::kInvalidArgument, kLibUnit, 93},
        FailureCase{"byte", kSomeBytes, Fail("ArrayElement", hresult::kDispBadIndex, 1), kBytes, hresult::kDispBadIndex, kLibUnit,
                    97},
        FailureCase{"texts", {}, Fail("Get", kDenied), kTexts, kDenied, kLibUnit, 116},
        FailureCase{"texts NULL", kNull, {}, kTexts, kUnexpected, kLibUnit, 116},
        FailureCase{"text", kSomeTexts, Fail("ArrayElement", kDenied, 0), kTexts, kDenied, kLibUnit, 123},
        FailureCase{"text without text", kSomeTexts, {}, kTexts, kUnexpected, kLibUnit, 124},
        FailureCase{"int32", {}, Fail("Get", kDenied), kInt32, kDenied, kLibUnit, 132},
        FailureCase{"uint32", {}, Fail("Get", kDenied), kUint32, kDenied, kLibUnit, 144},
        FailureCase{"uint64", {}, Fail("Get", kDenied), kUint64, kDenied, kLibUnit, 150},
        FailureCase{"uint64 NULL", kNull, {}, kUint64, kUnexpected, kLibUnit, 151},
        FailureCase{"uint64 of a number", kNumber, {}, kUint64, kUnexpected, kLibUnit, 152},
        FailureCase{"bool", {}, Fail("Get", kDenied), kBool, kDenied, kLibUnit, 158},
        FailureCase{"bool NULL", kNull, {}, kBool, kUnexpected, kLibUnit, 159},
        FailureCase{"bool of a text", kSomeText, {}, kBool, kUnexpected, kLibUnit, 160}),
    [](const auto& test) {
        std::string name = test.param.name;
        std::ranges::replace(name, ' ', '_');
        return "Line" + std::to_string(test.param.line) + "_" + name;
    });

// ---- The road of a query ----

TEST_F(WmiTest, AsksInOrderAndReleasesBackwards)
{
    Wmi().rows = {{{u"P", FakeProperty::Number(VariantType::UInt32, 1)}}};
    for (WmiCommonLib rows(u"SELECT P FROM C", WmiNamespace::Storage); !rows.IsEnd(); rows.Next()) {
        EXPECT_EQ(rows.GetUint32ByField(u"P"), 1U);
    }
    EXPECT_THAT(Wmi().calls,
                ElementsAre("InitializeCom 0", "InitializeSecurity -1 0 3 0", "AllocateString root\\microsoft\\windows\\storage",
                            "CreateLocator", "ConnectServer root\\microsoft\\windows\\storage", "SetProxyBlanket 10 0 3 3 0",
                            "FreeString root\\microsoft\\windows\\storage", "AllocateString SELECT P FROM C", "AllocateString WQL",
                            "ExecQuery WQL SELECT P FROM C 0x30", "FreeString WQL", "FreeString SELECT P FROM C", "Next 0xffffffff",
                            "Get P", "Release row", "Next 0xffffffff", "Release enumerator", "Release services", "Release locator",
                            "UninitializeCom"));
}

TEST_F(WmiTest, ReleasesTheRowItStandsOnBeforeTheRest)
{
    {
        const WmiCommonLib rows = OneRow(kNumber);
        Wmi().calls.clear();
    }
    EXPECT_THAT(Wmi().calls,
                ElementsAre("Release row", "Release enumerator", "Release services", "Release locator", "UninitializeCom"));
}

TEST_F(WmiTest, ReleasesWhatWasThereBeforeItAsksAgain)
{
    WmiQuery query;
    query.Connect(u"n");
    query.Execute(u"q");
    Wmi().calls.clear();
    query.Connect(u"n");
    query.Execute(u"q");
    EXPECT_THAT(Wmi().calls,
                ElementsAre("AllocateString n", "Release locator", "CreateLocator", "Release services", "ConnectServer n",
                            "SetProxyBlanket 10 0 3 3 0", "FreeString n", "AllocateString q", "AllocateString WQL",
                            "Release enumerator", "ExecQuery WQL q 0x30", "FreeString WQL", "FreeString q"));
}

TEST_F(WmiTest, EndsAtOnceWithoutRows) { EXPECT_TRUE(WmiCommonLib(kQuery, WmiNamespace::CimV2).IsEnd()); }

TEST_F(WmiTest, KnowsSixNamespacesAndTakesAnyOtherCodeForCimV2)
{
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
        Wmi().calls.clear();
        const WmiCommonLib rows(kQuery, static_cast<WmiNamespace>(code));
        EXPECT_THAT(Wmi().calls, ::testing::Contains("ConnectServer " + path)) << code;
    }
}

// ---- COM ----

TEST_F(WmiTest, SecurityThatIsSetAlreadyIsNoFailure)
{
    Wmi().Fail("InitializeCom", hresult::kFalse);
    Wmi().Fail("InitializeSecurity", hresult::kRpcTooLate);
    EXPECT_EQ(OneRow(kNumber).GetInt32ByField(u"P"), 7);
    EXPECT_THAT(Wmi().calls, ::testing::Contains("InitializeSecurity -1 0 3 0"));
}

TEST_F(WmiTest, UninitialisesComEvenWhereItsInitialisationFailed)
{
    Wmi().Fail("InitializeCom", hresult::kRpcChangedMode);
    EXPECT_EQ(OneRow(kNumber).GetInt32ByField(u"P"), 7);
    EXPECT_THAT(Wmi().calls, ::testing::Not(::testing::Contains(::testing::StartsWith("InitializeSecurity"))));
    m_Balance.com = -1;  // the one imbalance, and meant
}

// ---- Values ----

TEST_F(WmiTest, ReadsTexts)
{
    EXPECT_EQ(OneRow(FakeProperty::Text(u"Gr\u00FC\u00DFe \U0001F4BE")).GetStringByField(u"P"),
              "Gr\xC3\xBC\xC3\x9F"
              "e \xF0\x9F\x92\xBE");
    EXPECT_EQ(OneRow(FakeProperty::Text(std::u16string(u"\xD800", 1))).GetStringByField(u"P"), "\xEF\xBF\xBD");
    EXPECT_EQ(OneRow(FakeProperty::Text(u"")).GetStringByField(u"P"), "");
    EXPECT_EQ(OneRow(FakeProperty::Text(std::u16string(u"a\0b", 3))).GetStringByField(u"P"), std::string("a\0b", 3));
    EXPECT_EQ(OneRow(FakeProperty::Text(u"as \xD800 is")).GetWstringByField(u"P"), u"as \xD800 is");
}

TEST_F(WmiTest, ReadsNumbersWhateverTheirType)
{
    EXPECT_EQ(OneRow(FakeProperty::Number(VariantType::Int32, 0xFFFFFFFF)).GetUint32ByField(u"P"), 0xFFFFFFFFU);
    EXPECT_EQ(OneRow(FakeProperty::Number(VariantType::Int32, 0xFFFFFFFF)).GetInt32ByField(u"P"), -1);
    EXPECT_EQ(OneRow(FakeProperty::Number(VariantType::Float64, 0x3FF00000'12345678)).GetUint32ByField(u"P"), 0x12345678U);
    EXPECT_EQ(OneRow(FakeProperty::Number(VariantType::Null, 9)).GetUint32ByField(u"P"), 0U);
    EXPECT_EQ(OneRow(FakeProperty::Number(VariantType::Null, 9)).GetInt32ByField(u"P"), 0);
    EXPECT_TRUE(OneRow(FakeProperty::Number(VariantType::Bool, 0xFFFF)).GetBoolByField(u"P"));
    EXPECT_TRUE(OneRow(FakeProperty::Number(VariantType::Bool, 1)).GetBoolByField(u"P"));
    EXPECT_FALSE(OneRow(FakeProperty::Number(VariantType::Bool, 0x10000)).GetBoolByField(u"P"));
}

TEST_F(WmiTest, Reads64BitNumbersAsSignedDecimalText)
{
    EXPECT_EQ(OneRow(FakeProperty::Text(u"123456789012")).GetUint64ByField(u"P"), 123456789012U);
    EXPECT_EQ(OneRow(FakeProperty::Text(u"-1")).GetUint64ByField(u"P"), 0xFFFFFFFFFFFFFFFFU);
    // The largest unsigned number is read as the largest signed one, and meant.
    EXPECT_EQ(OneRow(FakeProperty::Text(u"18446744073709551615")).GetUint64ByField(u"P"), 0x7FFFFFFFFFFFFFFFU);
}

TEST_F(WmiTest, ReadsArrays)
{
    EXPECT_THAT(OneRow(FakeProperty::Bytes({0, 255, 7})).GetUint8ArrayByField(u"P"), ElementsAre(0, 255, 7));
    EXPECT_THAT(OneRow(FakeProperty::Bytes({})).GetUint8ArrayByField(u"P"), IsEmpty());
    EXPECT_THAT(OneRow(FakeProperty::Texts({u"a", u"", u"\u00E9"}, -1)).GetStringArrayByField(u"P"),
                ElementsAre("a", "", "\xC3\xA9"));
    EXPECT_THAT(OneRow(FakeProperty::Texts({std::u16string(u"a\0b", 3)})).GetStringArrayByField(u"P"), ElementsAre("a"));
    EXPECT_THAT(OneRow(FakeProperty::Texts({}, 5)).GetStringArrayByField(u"P"), IsEmpty());
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
