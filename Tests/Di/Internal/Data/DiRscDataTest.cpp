#include "Di/Internal/Data/DiRscData.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/RscArrayReader.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

using namespace Oxa;
using namespace Oxa::System::Rsc;
using Oxa::Services::Modules::Wbm::Di::Internal::Data::DiRscData;
using testing::ThrowsMessage;
using Value = RscVariant<512>;

struct OpenRscData final : DiRscData
{
    using DiRscData::itemKeys;
    using DiRscData::keysDelegate;
    using DiRscData::results;
    using DiRscData::resultsDelegate;
};

struct ValueList final : IRscReadEnumerator<Value>
{
    std::size_t BeginRead() override
    {
        return announcedCount;
    }

    /// Leaves `value` alone where the list has a value that is not set.
    bool ReadNext(Value& value) override
    {
        if (next == values.size())
        {
            return false;
        }
        if (values[next].GetType() != RscType::NotSet)
        {
            value = values[next];
        }
        ++next;
        return true;
    }

    void EndRead() override
    {
        hasEnded = true;
    }

    std::vector<Value> values;
    std::size_t announcedCount = 0;
    std::size_t next = 0;
    bool hasEnded = false;
};

struct KeyRecorder final : IRscWriteEnumerator<RscString<512>>
{
    void BeginWrite(std::size_t count) override
    {
        calls += "begin " + std::to_string(count) + ";";
    }

    void WriteNext(const RscString<512>& key) override
    {
        calls += key.ToString() + ";";
    }

    void EndWrite() override
    {
        calls += "end";
    }

    BasicString calls;
};

/// An array variant; its elements are counted when they are read, and fill the whole buffer, which
/// has to be zero.
struct ArraySource
{
    static void ReadElement(void* context, void* element, std::size_t elementBytes)
    {
        ++static_cast<ArraySource*>(context)->readCount;
        const auto* const bytes = static_cast<const char*>(element);
        EXPECT_EQ(std::count(bytes, bytes + elementBytes, 0), static_cast<std::ptrdiff_t>(elementBytes));
        std::memset(element, 0xAB, elementBytes);
    }

    Value MakeArray(uint32 elementCount, uint8 dimensions, RscType elementType)
    {
        return Value(RscArrayInformation{elementCount, dimensions, elementType, &ReadElement, this, nullptr, nullptr});
    }

    int readCount = 0;
};

uint8 ReadNumber(const Value& value)
{
    uint8 number = 0;
    DiRscData::ConvRscVariant512Value(value, number);
    return number;
}

/// Types by their numbers, which other processes use.
template <class T>
void ExpectScalar(T accepted, T failure, int acceptedType)
{
    for (const Value& value : {Value(true), Value(int8{-5}), Value(uint8{5}), Value(uint16{5}), Value(uint32{5}),
                               Value(uint64{5}), Value(std::string_view("5")), Value()})
    {
        T out = {};
        const bool isAccepted = static_cast<int>(value.GetType()) == acceptedType;
        EXPECT_EQ(DiRscData::ConvRscVariant512Value(value, out), isAccepted) << value.GetType();
        EXPECT_EQ(out, isAccepted ? accepted : failure) << value.GetType();
    }
}

TEST(ConvertingValues, TakesExactlyOneTypeAndElseLeavesTheFailureValue)
{
    ExpectScalar<bool>(true, false, 2);
    ExpectScalar<int8>(-5, -128, 4);
    ExpectScalar<uint8>(5, 255, 5);
    ExpectScalar<uint32>(5, 4294967295U, 9);
    ExpectScalar<uint64>(5, 18446744073709551615U, 11);
}

TEST(ConvertingValues, MakesTextOfTextsAndUnsignedNumbersUpTo32Bits)
{
    const std::tuple<Value, int, bool, BasicString> cases[] = {
        {Value(std::string_view("Run")), 19, true, "Run"},
        {Value(std::string_view("\0hidden", 7)), 19, true, ""},
        {Value(uint16{65535}), 7, true, "65535"},
        {Value(uint8{7}), 5, true, "7"},
        {Value(uint8{128}), 5, true, "128"},
        {Value(uint32{4294967295U}), 9, true, "4294967295"},
        {Value(uint64{7}), 11, false, "N/A"},
        {Value(int8{7}), 4, false, "N/A"},
        {Value(true), 2, false, "N/A"},
        {Value(), 255, false, "N/A"},
    };
    for (const auto& [value, type, result, text] : cases)
    {
        BasicString out = "before";
        EXPECT_EQ(static_cast<int>(value.GetType()), type);
        EXPECT_EQ(DiRscData::ConvRscVariant512Value(value, out), result) << value.GetType();
        EXPECT_EQ(out, text) << value.GetType();
    }
}

TEST(ReadingManyItems, HandsOutTheKeysInOrder)
{
    OpenRscData data;
    KeyRecorder none;
    data.keysDelegate(none);
    EXPECT_EQ(none.calls, "begin 0;end");

    data.itemKeys = {RscString<512>("b"), RscString<512>("a")};
    KeyRecorder two;
    data.keysDelegate(two);
    EXPECT_EQ(two.calls, "begin 2;b;a;end");
}

TEST(ReadingManyItems, ReplacesTheResultsIndependentOfTheAnnouncedNumber)
{
    OpenRscData data;
    const std::pair<std::size_t, std::vector<uint8>> cases[] = {{3, {1, 2}}, {1, {3, 4, 5}}, {0, {6}}, {2, {}}};
    for (const auto& [announcedCount, numbers] : cases)
    {
        ValueList list;
        list.announcedCount = announcedCount;
        list.values = std::vector<Value>(numbers.begin(), numbers.end());
        data.resultsDelegate(list);
        EXPECT_TRUE(list.hasEnded);
        std::vector<uint8> results(data.results.size());
        std::transform(data.results.begin(), data.results.end(), results.begin(), ReadNumber);
        EXPECT_EQ(results, numbers) << "announced: " << announcedCount;
    }

    // The value that the enumerator fills is not set at first, and not reset in between.
    ValueList sparse;
    sparse.values = {Value(), Value(uint8{5}), Value()};
    data.resultsDelegate(sparse);
    ASSERT_EQ(data.results.size(), 3U);
    EXPECT_EQ(data.results[0].GetType(), RscType::NotSet);
    EXPECT_EQ(ReadNumber(data.results[2]), 5);

    ValueList tooLong;
    tooLong.announcedCount = data.results.max_size() + 1;
    EXPECT_THROW(data.resultsDelegate(tooLong), std::length_error);
}

TEST(ReadingManyItems, DrainsArraysAndKeepsThemAsTheyCame)
{
    OpenRscData data;
    ArraySource source;
    ValueList list;
    list.values = {source.MakeArray(3, 1, RscType::Uint64), Value(uint8{2}), source.MakeArray(0, 2, RscType::String)};
    data.resultsDelegate(list);
    ASSERT_EQ(data.results.size(), 3U);
    EXPECT_EQ(static_cast<int>(data.results[0].GetType()), 20);
    EXPECT_EQ(source.readCount, 3);

    for (int type = 0; type < static_cast<int>(RscType::NotSet); ++type)
    {
        Value array = source.MakeArray(1, 1, static_cast<RscType>(type));
        const auto drain = [&array]
        {
            DiRscData::ReadRscArrayElements(array);
        };
        if ((type >= 2 && type <= 13) || (type >= 41 && type <= 48))
        {
            EXPECT_NO_THROW(drain()) << type;
        }
        else
        {
            EXPECT_THAT(drain, ThrowsMessage<System::Commons::InvalidOperationException>(
                                   "This method can only be used with primitve Types"));
        }
    }
}

TEST(ReadingManyItems, ReadsArraysFromARemotingSource)
{
    OpenRscData data;
    ArraySource source;
    ValueList list;
    list.values = {
        Value(RscArrayInformation{2, 1, RscType::Uint8, nullptr, nullptr, &ArraySource::ReadElement, &source})};
    data.resultsDelegate(list);
    EXPECT_EQ(source.readCount, 2);
}

TEST(ReadingManyItems, RefusesArraysThatCannotBeDrained)
{
    using Oxa::System::Commons::ArgumentException;
    using Oxa::System::Commons::InvalidOperationException;
    OpenRscData data;
    ArraySource source;
    const auto read = [&data, &source](uint8 dimensions, RscType elementType, bool hasSource)
    {
        const Value array = hasSource ? source.MakeArray(2, dimensions, elementType)
                                      : Value(RscArrayInformation{2, dimensions, elementType});
        return [&data, array]
        {
            ValueList list;
            list.values = {Value(uint8{1}), array};
            data.resultsDelegate(list);
        };
    };
    EXPECT_THAT(
        read(2, RscType::Uint8, true),
        ThrowsMessage<InvalidOperationException>("This element contains subarrays, please use ReadNextArray instead"));
    // The types are looked at before the dimensions.
    EXPECT_THAT(read(2, RscType::String, true),
                ThrowsMessage<InvalidOperationException>("This method can only be used with primitve Types"));

    // Of several faults the first in this order is reported: no element type, no dimension, no source.
    EXPECT_THAT(read(0, RscType::NotSet, false),
                ThrowsMessage<ArgumentException>("The argument 'arrayElementType' is not valid."));
    EXPECT_THAT(read(0, RscType::Uint8, false),
                ThrowsMessage<ArgumentException>("RscArrayReader: dimension size has to be >= 0"));
    EXPECT_THAT(read(1, RscType::Uint8, false),
                ThrowsMessage<ArgumentException>("ReadElementFunction in RscVariant has to be defined"));
    EXPECT_EQ(data.results.size(), 1U) << "what came in front of the array";

    Value scalar(uint8{1});
    EXPECT_THAT([&scalar] { DiRscData::ReadRscArrayElements(scalar); },
                ThrowsMessage<InvalidOperationException>("RscVariant doesn't contain array information"));
}

} // namespace
