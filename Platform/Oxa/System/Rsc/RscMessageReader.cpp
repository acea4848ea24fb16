#include "Oxa/System/Rsc/RscMessageReader.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"
#include "Oxa/System/Rsc/RscArrayReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <systemd/sd-bus.h>

#include <array>
#include <cstring>
#include <limits>
#include <vector>

namespace Oxa::System::Rsc
{

namespace Internal
{

using System::Commons::ArgumentException;
using System::Commons::InvalidOperationException;

/// The elements of one array that came from another process.
/// Threads: one at a time.
struct RemoteArray
{
    uint32 elementCount = 0;
    uint8 dimensions = 0;
    RscType elementType = RscType::NotSet;
    /// Primitive or, with more than one dimension, arrays.
    std::vector<RscVariant<sizeof(RscArrayInformation)>> elements;
    std::size_t next = 0;

    /// What the payload of a variant holds for this array. Valid as long as the array is not moved.
    [[nodiscard]] RscArrayInformation GetInformation() noexcept;
};

namespace
{

/// A ReadElementFunction.
void ReadElement(void* context, void* element, std::size_t elementBytes)
{
    using Subarray = RscVariant<subarrayBytes>;
    RemoteArray& array = *static_cast<RemoteArray*>(context);
    const bool isArray = array.dimensions > 1;
    if (array.next >= array.elements.size())
    {
        throw InvalidOperationException::Create("The array has no element after number {0}", array.next);
    }
    if (isArray ? elementBytes != sizeof(Subarray) : elementBytes < RscArrayReader::maximumPrimitiveBytes)
    {
        throw ArgumentException::Create("elementBytes", elementBytes,
                                        isArray ? "Arrays of arrays are read as RscVariant<512>"
                                                : "The buffer is too small for an element");
    }
    const auto& next = array.elements[array.next++];
    if (isArray)
    {
        static_cast<Subarray*>(element)->Assign(next.GetType(), next.GetPayload());
        return;
    }
    std::memcpy(element, next.GetPayload().data(), RscArrayReader::maximumPrimitiveBytes);
}

} // namespace

RscArrayInformation RemoteArray::GetInformation() noexcept
{
    RscArrayInformation information;
    information.elementCount = elementCount;
    information.dimensions = dimensions;
    information.elementType = elementType;
    // No elements although some are announced: the array had no source in the process that sent it, and so it has none
    // here. Elements that are not primitive are never sent; reading them fails.
    const bool hasSource = elementCount == 0 || !elements.empty() || !IsPrimitive(elementType);
    information.readRemoteElement = hasSource ? &ReadElement : nullptr;
    information.remotingSource = hasSource ? this : nullptr;
    return information;
}

} // namespace Internal

using Internal::RemoteArray;

namespace
{

[[noreturn]] void ThrowUnexpected()
{
    throw RscServiceException(RscFault::InvalidResponse, "the message holds something else than the operation says");
}

/// True when there was something.
bool Check(int result)
{
    if (result < 0)
    {
        ThrowUnexpected();
    }
    return result > 0;
}

void Require(int result)
{
    if (!Check(result))
    {
        ThrowUnexpected();
    }
}

template <class T>
[[nodiscard]] T ReadBasic(sd_bus_message& message, char type)
{
    T value = {};
    Require(sd_bus_message_read_basic(&message, type, &value));
    return value;
}

std::span<const char> ReadBytes(sd_bus_message& message)
{
    const void* bytes = nullptr;
    std::size_t size = 0;
    // 0: an empty one.
    Check(sd_bus_message_read_array(&message, 'y', &bytes, &size));
    return {static_cast<const char*>(bytes), size};
}

/// A payload on its way into a variant.
class Payload final
{
public:
    template <class T>
    std::span<const char> Of(const T& value) noexcept
    {
        static_assert(sizeof value <= sizeof bytes);
        std::memcpy(bytes.data(), &value, sizeof value);
        return {bytes.data(), sizeof value};
    }

    /// Zeroes follow a value of less than 8 bytes.
    std::span<const char> Read(sd_bus_message& message, char busType)
    {
        Require(sd_bus_message_read_basic(&message, busType, bytes.data()));
        return {bytes.data(), sizeof(uint64)};
    }

private:
    alignas(RscArrayInformation) std::array<char, sizeof(RscArrayInformation)> bytes = {};
};

int8 ReadInt8(sd_bus_message& message)
{
    const auto value = ReadBasic<int16>(message, 'n');
    if (value < std::numeric_limits<int8>::min() || value > std::numeric_limits<int8>::max())
    {
        ThrowUnexpected();
    }
    return static_cast<int8>(value);
}

RscVersion ReadVersion(sd_bus_message& message)
{
    RscVersion version = {};
    Require(sd_bus_message_read(&message, "(uuuu)", &version[0], &version[1], &version[2], &version[3]));
    return version;
}

/// The value inside of the variant, whose contents have the signature.
std::span<const char> ReadScalar(sd_bus_message& message, RscType type, std::string_view contents, Payload& payload)
{
    switch (type)
    {
    case RscType::None:
    case RscType::Void:
    case RscType::NotSet:
        (void)ReadBasic<uint8>(message, 'y');
        return {};
    case RscType::Bool:
        return payload.Of(ReadBasic<int>(message, 'b') != 0);
    case RscType::Int8:
        return payload.Of(ReadInt8(message));
    case RscType::Real32:
        return payload.Of(static_cast<float>(ReadBasic<double>(message, 'd')));
    case RscType::Version:
        return payload.Of(ReadVersion(message));
    case RscType::String:
        // A text that is no UTF-8 crosses as bytes.
        return contents == Internal::bytesSignature ? ReadBytes(message)
                                                    : std::string_view(ReadBasic<const char*>(message, 's'));
    default:
        const char busType = Internal::GetBusType(type);
        return busType != '\0' ? payload.Read(message, busType) : ReadBytes(message);
    }
}

void AddElement(void* target, RscType type, std::span<const char> payload)
{
    auto& array = *static_cast<RemoteArray*>(target);
    if (type != (array.dimensions > 1 ? RscType::Array : array.elementType) ||
        (type != RscType::Array && !IsPrimitive(type)))
    {
        ThrowUnexpected();
    }
    array.elements.emplace_back().Assign(type, payload);
}

} // namespace

RscMessageReader::RscMessageReader(sd_bus_message& message) : message(message) {}

RscMessageReader::~RscMessageReader() = default;

bool RscMessageReader::ReadBool()
{
    return ReadBasic<int>(message, 'b') != 0;
}

uint16 RscMessageReader::ReadUint16()
{
    return ReadBasic<uint16>(message, 'q');
}

uint32 RscMessageReader::ReadUint32()
{
    return ReadBasic<uint32>(message, 'u');
}

uint64 RscMessageReader::ReadUint64()
{
    return ReadBasic<uint64>(message, 't');
}

int64 RscMessageReader::ReadInt64()
{
    return ReadBasic<int64>(message, 'x');
}

double RscMessageReader::ReadReal64()
{
    return ReadBasic<double>(message, 'd');
}

std::string_view RscMessageReader::ReadText()
{
    return ReadBasic<const char*>(message, 's');
}

void RscMessageReader::EnterArray(const char* elementSignature)
{
    // An empty array is entered like any other: the result is 0 only where there is no array at all.
    Require(sd_bus_message_enter_container(&message, 'a', elementSignature));
}

bool RscMessageReader::TryLeaveArray()
{
    if (!Check(sd_bus_message_at_end(&message, 0)))
    {
        return false;
    }
    Check(sd_bus_message_exit_container(&message));
    return true;
}

void RscMessageReader::EnterStructure(const char* membersSignature)
{
    Require(sd_bus_message_enter_container(&message, 'r', membersSignature));
}

void RscMessageReader::LeaveStructure()
{
    Check(sd_bus_message_exit_container(&message));
}

void RscMessageReader::ReadPayload(AssignFunction assign, void* variant, std::size_t maximumBytes)
{
    Require(sd_bus_message_enter_container(&message, 'r', Internal::valueMembersSignature));
    const auto type = static_cast<RscType>(ReadBasic<uint8>(message, 'y'));
    const char* contents = nullptr;
    Require(sd_bus_message_peek_type(&message, nullptr, &contents));
    // `contents` points into the message, so it stays valid inside the container.
    Require(sd_bus_message_enter_container(&message, 'v', contents));
    Payload payload;
    const std::span<const char> bytes = type == RscType::Array ? payload.Of(ReadArray().GetInformation())
                                                               : ReadScalar(message, type, contents, payload);
    if (bytes.size() > maximumBytes)
    {
        ThrowUnexpected();
    }
    assign(variant, type, bytes);
    Check(sd_bus_message_exit_container(&message));
    Check(sd_bus_message_exit_container(&message));
}

RemoteArray& RscMessageReader::ReadArray()
{
    RemoteArray& array = arrays.emplace_back();
    uint8 elementType = 0;
    Require(sd_bus_message_enter_container(&message, 'r', Internal::arrayMembersSignature));
    Require(sd_bus_message_read(&message, "yyu", &elementType, &array.dimensions, &array.elementCount));
    array.elementType = static_cast<RscType>(elementType);
    EnterArray(RscMessageWriter::valueSignature);
    while (!TryLeaveArray())
    {
        ReadPayload(&AddElement, &array, sizeof(RscArrayInformation));
    }
    Check(sd_bus_message_exit_container(&message));
    if (!array.elements.empty() && array.elements.size() != array.elementCount)
    {
        ThrowUnexpected();
    }
    return array;
}

} // namespace Oxa::System::Rsc
