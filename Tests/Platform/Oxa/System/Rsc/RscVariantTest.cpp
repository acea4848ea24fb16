#include "Oxa/System/Rsc/RscVariant.hpp"

#include "Oxa/System/Rsc/RscArrayReader.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

using namespace Oxa;
using namespace Oxa::System::Commons;
using namespace Oxa::System::Rsc;
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
    }
    try
    {
        static_cast<void>(Value(uint8{1}).ToString());
        FAIL() << "a number has no text";
    }
    catch (const NotSupportedException& exception)
    {
        EXPECT_STREQ(exception.what(), "RscVariant::ToString() not supported for type 'Uint8'");
    }
    EXPECT_THROW(static_cast<void>(Value(uint8{1}).GetBool()), InvalidOperationException);
    EXPECT_EQ(Text::Format("{0} {1}", RscType::TimeOfDay64, static_cast<RscType>(99)), "TimeOfDay64 99");
}

TEST(HoldingValues, StaysWithinItsPayloadWhateverTheBytes)
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

TEST(ReadingArrays, HandsOutElementsAndSubarrays)
{
    struct Source
    {
        static void ReadNumber(void* context, void* element, std::size_t /*elementBytes*/)
        {
            const uint16 number = ++static_cast<Source*>(context)->count;
            std::memcpy(element, &number, sizeof number);
        }

        static void ReadRow(void* context, void* element, std::size_t /*elementBytes*/)
        {
            *static_cast<Value*>(element) =
                Value(RscArrayInformation{2, 1, RscType::Uint16, nullptr, nullptr, &ReadNumber, context});
        }

        uint16 count = 0;
    } source;

    RscArrayReader table(
        Value(RscArrayInformation{2, 2, RscType::Uint16, &Source::ReadRow, &source, nullptr, nullptr}));
    Value row;
    table.ReadNextArray(row);
    RscArrayReader elements(row);
    EXPECT_EQ(elements.GetElementCount(), 2U);
    std::array<std::byte, RscArrayReader::maximumPrimitiveBytes> element = {};
    elements.ReadNext(element);
    elements.ReadNext(element);
    EXPECT_EQ(static_cast<int>(element[0]), 2);
    EXPECT_THROW(elements.ReadNextArray(row), InvalidOperationException);
}

} // namespace
