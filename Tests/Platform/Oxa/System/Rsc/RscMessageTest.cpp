#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"
#include "Oxa/System/Rsc/RscArrayReader.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace Oxa::System::Rsc
{

namespace
{

using Value = RscVariant<512>;

/// A message that is written, and then read as its receiver would.
class Messages : public testing::Test
{
protected:
    Messages()
    {
        std::array<int, 2> ends = {};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        other = ends[1];
        sd_bus* made = nullptr;
        EXPECT_GE(sd_bus_new(&made), 0);
        bus.reset(made);
        EXPECT_GE(sd_bus_set_fd(made, ends[0], ends[0]), 0);
        EXPECT_GE(sd_bus_start(made), 0);
    }

    ~Messages() override
    {
        close(other);
    }

    void Write(const std::function<void(RscMessageWriter&)>& write)
    {
        sd_bus_message* made = nullptr;
        ASSERT_GE(sd_bus_message_new_signal(bus.get(), &made, "/A", "A.B", "C"), 0);
        message.reset(made);
        RscMessageWriter writer(*message);
        write(writer);
        ASSERT_GE(sd_bus_message_seal(made, 1, 0), 0);
        ASSERT_GE(sd_bus_message_rewind(made, 1), 0);
    }

    Value Cross(const Value& value)
    {
        Write([&value](RscMessageWriter& writer) { writer.WriteValue(value); });
        reader = std::make_unique<RscMessageReader>(*message);
        Value result("what was there before");
        reader->ReadValue(result);
        return result;
    }

    /// The fault of reading, as a variant, what was written by hand.
    RscFault ReadHandwritten(const char* signature, const std::function<int(sd_bus_message*)>& append)
    {
        Write([this, &append, signature](RscMessageWriter&) { EXPECT_GE(append(message.get()), 0) << signature; });
        RscMessageReader handReader(*message);
        Value result;
        try
        {
            handReader.ReadValue(result);
        }
        catch (const RscServiceException& exception)
        {
            return exception.GetFault();
        }
        ADD_FAILURE() << "read " << signature << " as " << testing::PrintToString(result.GetType());
        return RscFault::NotAvailable;
    }

    int other = -1;
    Internal::BusHandle bus;
    Internal::MessageHandle message;
    std::unique_ptr<RscMessageReader> reader;
};

Value MakeRaw(RscType type, std::size_t size)
{
    std::string bytes;
    for (std::size_t index = 0; index < size; ++index)
    {
        bytes.push_back(static_cast<char>(0x81 + index % 64));
    }
    Value value;
    value.Assign(type, bytes);
    return value;
}

/// The elements of an array in this process.
template <class T>
struct FakeArray
{
    std::vector<T> elements;
    std::size_t next = 0;

    static void Read(void* context, void* element, std::size_t /*elementBytes*/)
    {
        auto& self = *static_cast<FakeArray*>(context);
        *static_cast<T*>(element) = self.elements.at(self.next++);
    }

    Value Describe(RscType elementType, uint8 dimensions)
    {
        RscArrayInformation information;
        information.elementCount = static_cast<uint32>(elements.size());
        information.dimensions = dimensions;
        information.elementType = elementType;
        information.readElement = &Read;
        information.readElementContext = this;
        return Value(information);
    }
};

template <class T>
T ReadNext(RscArrayReader& array)
{
    std::array<std::byte, 8> bytes = {};
    array.ReadNext(bytes);
    T value;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

} // namespace

TEST_F(Messages, CarryEveryTypeUnchanged)
{
    using Limits = std::numeric_limits<int64>;
    const std::pair<Value, std::size_t> cases[] = {
        {Value(), 0},
        {MakeRaw(RscType::None, 0), 0},
        {MakeRaw(RscType::Void, 0), 0},
        {Value(true), 1},
        {Value(false), 1},
        {Value(int8{-128}), 1},
        {Value(uint8{0x80}), 1},
        {Value(int16{-32768}), 2},
        {Value(uint16{0xFFFF}), 2},
        {MakeRaw(RscType::Char16, 2), 2},
        {Value(int32{-5}), 4},
        {Value(uint32{0xFFFFFFFF}), 4},
        {Value(int64{Limits::min()}), 8},
        {Value(uint64{0xFFFFFFFFFFFFFFFF}), 8},
        {Value(-0.1F), 4},
        {Value(std::numeric_limits<double>::denorm_min()), 8},
        {Value(Oxa::DateTime::FromValue(0xC123456789ABCDEF)), 8},
        {Value(RscVersion{1, 2, 0xFFFFFFFF, 4}), 16},
        {MakeRaw(RscType::Guid, 16), 16},
        {MakeRaw(RscType::Time32, 4), 4},
        {MakeRaw(RscType::TimeOfDay64, 8), 8},
        {MakeRaw(RscType::Struct, 512), 512},
        {MakeRaw(static_cast<RscType>(200), 16), 16},
        {Value(""), 1},
        {Value("gr\xC3\xBC\xC3\x9F Gott"), 12},
        {Value("no UTF-8: \xFF\xC3"), 13},
        {MakeRaw(RscType::String, 512), 512},
    };
    for (const auto& [value, size] : cases)
    {
        const Value result = Cross(value);
        EXPECT_EQ(result.GetType(), value.GetType());
        EXPECT_EQ(std::memcmp(result.GetPayload().data(), value.GetPayload().data(), size), 0)
            << testing::PrintToString(value.GetType()) << ' ' << result.GetText();
    }
}

TEST_F(Messages, CarryWhatIsNoVariant)
{
    Write(
        [](RscMessageWriter& writer)
        {
            writer.WriteBool(true);
            writer.WriteBool(false);
            writer.WriteText("no UTF-8: \xFF");
        });
    RscMessageReader plain(*message);
    EXPECT_TRUE(plain.ReadBool());
    EXPECT_FALSE(plain.ReadBool());
    EXPECT_EQ(plain.ReadText(), "");
}

TEST_F(Messages, CarryStructuresOfNumbersAndTexts)
{
    Write(
        [](RscMessageWriter& writer)
        {
            writer.BeginArray("(xds)");
            for (const int64 number : {std::numeric_limits<int64>::min(), int64{7}})
            {
                writer.BeginStructure("xds");
                writer.WriteInt64(number);
                writer.WriteReal64(number == 7 ? 0.1 : std::numeric_limits<double>::quiet_NaN());
                writer.WriteText("text");
                writer.EndStructure();
            }
            writer.EndArray();
        });
    RscMessageReader plain(*message);
    plain.EnterArray("(xds)");
    EXPECT_FALSE(plain.TryLeaveArray());
    plain.EnterStructure("xds");
    EXPECT_EQ(plain.ReadInt64(), std::numeric_limits<int64>::min());
    EXPECT_TRUE(std::isnan(plain.ReadReal64()));
    EXPECT_EQ(plain.ReadText(), "text");
    plain.LeaveStructure();
    EXPECT_FALSE(plain.TryLeaveArray());
    EXPECT_THROW(plain.EnterStructure("xd"), RscServiceException) << "it has another member";
    plain.EnterStructure("xds");
    EXPECT_EQ(plain.ReadInt64(), 7);
    EXPECT_THROW((void)plain.ReadInt64(), RscServiceException) << "the next member has another type";
    EXPECT_EQ(plain.ReadReal64(), 0.1);
    EXPECT_THROW(plain.LeaveStructure(), RscServiceException) << "a member is left";
    EXPECT_EQ(plain.ReadText(), "text");
    plain.LeaveStructure();
    EXPECT_TRUE(plain.TryLeaveArray());
}

TEST_F(Messages, CarryTheElementsOfArrays)
{
    FakeArray<int8> numbers{{-1, 2, -3}};
    Value value = Cross(numbers.Describe(RscType::Int8, 1));
    RscArrayReader array(value);
    ASSERT_EQ(array.GetElementCount(), 3U);
    EXPECT_EQ(array.GetElementType(), RscType::Int8);
    EXPECT_EQ(ReadNext<int8>(array), -1);
    EXPECT_EQ(ReadNext<int8>(array), 2);
    EXPECT_EQ(ReadNext<int8>(array), -3);
    EXPECT_THROW((void)ReadNext<int8>(array), System::Commons::InvalidOperationException);

    FakeArray<double> row{{1.5, 2.5}};
    FakeArray<Value> table{{row.Describe(RscType::Real64, 1)}};
    value = Cross(table.Describe(RscType::Real64, 2));
    RscArrayReader outer(value);
    Value element;
    outer.ReadNextArray(element);
    RscArrayReader inner(element);
    EXPECT_EQ(ReadNext<double>(inner), 1.5);
    EXPECT_EQ(ReadNext<double>(inner), 2.5);
    EXPECT_THROW(inner.ReadNextArray(element), System::Commons::InvalidOperationException);

    FakeArray<int8> more{{1}};
    Write([&more](RscMessageWriter& writer) { writer.WriteValue(more.Describe(RscType::Int8, 1)); });
    RscMessageReader(*message).ReadDetachedValue(value);
    EXPECT_EQ(value.GetType(), RscType::Array);
    EXPECT_THROW(RscArrayReader{value}, System::Commons::ArgumentException) << "its elements went with the reader";
}

TEST_F(Messages, LetTheReaderComplainAboutArraysThatCannotBe)
{
    FakeArray<Value> texts{{Value("a")}};
    Value value = Cross(texts.Describe(RscType::String, 1));
    RscArrayReader array(value);
    EXPECT_THROW((void)ReadNext<uint64>(array), System::Commons::InvalidOperationException);

    RscArrayInformation withoutSource;
    withoutSource.elementCount = 3;
    withoutSource.dimensions = 1;
    withoutSource.elementType = RscType::Bool;
    value = Cross(Value(withoutSource));
    EXPECT_THROW(RscArrayReader{value}, System::Commons::ArgumentException);
}

TEST_F(Messages, AreNotTakenForWhatTheyAreNot)
{
    const auto tag = [](RscType type)
    {
        return static_cast<int>(type);
    };
    const auto fault = [this](const char* signature, auto... arguments)
    {
        return ReadHandwritten(signature, [=](sd_bus_message* written)
                               { return sd_bus_message_append(written, signature, arguments...); });
    };
    EXPECT_EQ(fault("u", 5), RscFault::InvalidResponse);
    EXPECT_EQ(fault("(yv)", tag(RscType::Bool), "s", "true"), RscFault::InvalidResponse);
    EXPECT_EQ(fault("(yv)", tag(RscType::Int8), "n", 128), RscFault::InvalidResponse);
    EXPECT_EQ(fault("(yv)", tag(RscType::String), "t", uint64{1}), RscFault::InvalidResponse);
    EXPECT_EQ(fault("(yv)", tag(RscType::Array), "ay", 0), RscFault::InvalidResponse);
    // Fewer elements than announced, and one of another type.
    EXPECT_EQ(
        fault("(yv)", tag(RscType::Array), "(yyua(yv))", tag(RscType::Bool), 1, 2U, 1, tag(RscType::Bool), "b", 1),
        RscFault::InvalidResponse);
    EXPECT_EQ(
        fault("(yv)", tag(RscType::Array), "(yyua(yv))", tag(RscType::Bool), 1, 1U, 1, tag(RscType::Uint8), "y", 1),
        RscFault::InvalidResponse);
}

TEST_F(Messages, AreNotMadeLongerThanTheOtherEndTakes)
{
    const Value value(std::string(500, 'x'));
    const auto writeMany = [&value](RscMessageWriter& writer)
    {
        writer.BeginArray(RscMessageWriter::valueSignature);
        for (int count = 0; count < 600; ++count)
        {
            writer.WriteValue(value);
        }
    };
    EXPECT_THROW(Write(writeMany), System::Commons::InvalidOperationException);
}

} // namespace Oxa::System::Rsc
