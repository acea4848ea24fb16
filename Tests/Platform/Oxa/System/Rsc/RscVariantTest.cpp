#include "Oxa/System/Rsc/RscVariant.hpp"

#include "Oxa/Device/Interface/Services/DeviceItems.hpp"

#include <gmock/gmock.h>

#include <limits>

namespace
{

using namespace Oxa;
using Oxa::Device::Interface::Services::FormatItemValue;
using namespace Oxa::System::Commons;
using namespace Oxa::System::Rsc;
using testing::ThrowsMessage;
using Value = RscVariant<512>;

TEST(PrintingValues, KnowsTheTypesThatHaveAText)
{
    Value none;
    none.SetType(RscType::None);
    const std::pair<Value, BasicString> cases[] = {
        {Value(), ""},
        {none, ""},
        {Value("text"), "text"},
        {Value(true), "true"},
        {Value(Oxa::DateTime::FromUnixTimeMicroseconds(0)), "1970-01-01T00:00:00.0000000Z"},
        {Value(RscVersion{1, 2, 3, 4}), "1.2.3.4"},
        {Value(RscGuid{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}),
         "00112233-4455-6677-8899-aabbccddeeff"},
    };
    for (const auto& [value, text] : cases)
    {
        EXPECT_EQ(value.ToString(), text) << value.GetType();
        EXPECT_EQ(FormatItemValue(value), text) << value.GetType();
    }
    EXPECT_THAT([] { return Value(uint8{1}).GetBool(); },
                ThrowsMessage<InvalidOperationException>("Value of RscVariant is not of type bool."));
    EXPECT_EQ(Text::Format("{0} {1}", RscType::TimeOfDay64, static_cast<RscType>(99)), "TimeOfDay64 99");
}

TEST(PrintingValues, HasATextForEveryItemValue)
{
    Value duration;
    duration.SetType(RscType::Time64);
    const std::pair<Value, BasicString> cases[] = {
        {Value(int8{-128}), "-128"},
        {Value(uint8{200}), "200"},
        {Value(int16{-32768}), "-32768"},
        {Value(uint16{65535}), "65535"},
        {Value(int32{-5}), "-5"},
        {Value(uint32{4294967295U}), "4294967295"},
        {Value(std::numeric_limits<int64>::min()), "-9223372036854775808"},
        {Value(std::numeric_limits<uint64>::max()), "18446744073709551615"},
        {Value(0.1F), "0.1"},
        {Value(0.1), "0.1"},
        {Value(RscArrayInformation{3, 1, RscType::Uint8}), "3 x Uint8"},
        {duration, "(Time64)"},
    };
    for (const auto& [value, text] : cases)
    {
        EXPECT_EQ(FormatItemValue(value), text) << value.GetType();
        EXPECT_THAT([&value = value] { return value.ToString(); },
                    ThrowsMessage<NotSupportedException>(
                        Text::Format("RscVariant::ToString() not supported for type '{0}'", value.GetType())));
    }
}

TEST(HoldingValues, StaysWithinItsPayloadForAnyBytes)
{
    EXPECT_THROW(Value(BasicString(512, 'x')), ArgumentException);
    Value unterminated{std::string_view(BasicString(511, 'x'))};
    EXPECT_EQ(Value(unterminated).GetText().size(), 511U);

    // A bool from elsewhere may be any byte.
    Value odd(uint8{0x55});
    odd.SetType(RscType::Bool);
    EXPECT_TRUE(odd.GetBool());
}

TEST(HoldingValues, SurvivesCopyingInEveryType)
{
    Value target(BasicString(300, 'x'));
    target = Value(uint64{0x0102030405060708});
    uint64 number = 0;
    target.CopyTo(number);
    EXPECT_EQ(number, 0x0102030405060708U);
    target = Value("ab");
    EXPECT_EQ(target.ToString(), "ab");
    target = Value();
    EXPECT_EQ(target.GetType(), RscType::NotSet);
}

} // namespace
