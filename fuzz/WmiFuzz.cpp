#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>

#include "Common/WmiCommonLib.h"
#include "FakeWmi.h"

namespace {

using orbis::fakes::FakeProperty;

std::u16string WideText(FuzzedDataProvider& input)
{
    std::u16string text;
    for (const std::uint8_t byte : input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, 24))) {
        text += static_cast<char16_t>(byte > 0xF0 ? 0xD800 + byte : byte);  // lone surrogates among them
    }
    return text;
}

FakeProperty Property(FuzzedDataProvider& input)
{
    switch (input.ConsumeIntegralInRange(0, 4)) {
        case 0:
            return FakeProperty::Text(input.ConsumeBool() ? std::optional(WideText(input)) : std::nullopt);
        case 1:
            return FakeProperty::Bytes(input.ConsumeBytes<std::uint8_t>(16));
        case 2:
            return FakeProperty::Texts({WideText(input), std::nullopt, WideText(input)}, input.ConsumeIntegralInRange(-3, 3));
        case 3:
            return FakeProperty::Null();
        default: {
            using orbis::platform::VariantType;
            constexpr std::array kNumbers{VariantType::Empty,   VariantType::Int16, VariantType::Int32, VariantType::Float32,
                                          VariantType::Float64, VariantType::Bool,  VariantType::UInt8, VariantType::UInt32};
            return FakeProperty::Number(input.PickValueInArray(kNumbers), input.ConsumeIntegral<std::uint64_t>());
        }
    }
}

}  // namespace

// Properties of any type through every getter: a value or the documented failure, and nothing left behind.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace Veyra::Orbis::Cpp::Common;
    FuzzedDataProvider input(data, size);
    orbis::fakes::FakeWmiMachine machine;
    for (int rows = input.ConsumeIntegralInRange(0, 3); rows > 0; --rows) {
        machine.wmi.rows.push_back({{u"P", Property(input)}});
    }
    const auto attempt = [](auto&& read) {
        try {
            (void)read();
        } catch (const std::exception&) {
            // The documented failure.
        }
    };
    {
        WmiCommonLib row(u"SELECT * FROM C", WmiNamespace::CimV2);
        for (; !row.IsEnd(); row.Next()) {
            attempt([&] { return row.GetStringByField(u"P"); });
            attempt([&] { return row.GetWstringByField(u"P"); });
            attempt([&] { return row.GetUint32ByField(u"P"); });
            attempt([&] { return row.GetInt32ByField(u"P"); });
            attempt([&] { return row.GetUint64ByField(u"P"); });
            attempt([&] { return row.GetBoolByField(u"P"); });
            attempt([&] { return row.GetUint8ArrayByField(u"P"); });
            attempt([&] { return row.GetStringArrayByField(u"P"); });
            attempt([&] { return row.GetStringByField(u"missing"); });
        }
    }
    if (machine.wmi.balance != orbis::fakes::WmiBalance{} || !machine.wmi.misuses.empty()) {
        std::abort();
    }
    return 0;
}
