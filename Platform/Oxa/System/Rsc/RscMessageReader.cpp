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
    /// As wide as the widest primitive element; a narrower one is at its beginning.
    using Scalar = std::array<std::byte, RscArrayReader::maximumPrimitiveBytes>;
    using Subarray = RscVariant<subarrayBytes>;

    uint32 elementCount = 0;
    uint8 dimensions = 0;
    RscType elementType = RscType::NotSet;
    std::vector<Scalar> scalars;
    std::vector<Subarray> subarrays;
    std::size_t next = 0;

    /// What the payload of a variant holds for this array. Valid as long as the array is not moved.
    [[nodiscard]] RscArrayInformation GetInformation() noexcept;
};

namespace
{

void RequireNext(const RemoteArray& array, std::size_t available)
{
    if (array.next >= available)
    {
        throw InvalidOperationException::Create("The array has no element after number {0}", array.next);
    }
}

/// A ReadElementFunction.
void ReadElement(void* context, void* element, std::size_t elementBytes)
{
    RemoteArray& array = *static_cast<RemoteArray*>(context);
    if (array.dimensions > 1)
    {
        RequireNext(array, array.subarrays.size());
        if (elementBytes != sizeof(RemoteArray::Subarray))
        {
            throw ArgumentException::Create("elementBytes", elementBytes,
                                            "Arrays of arrays are read as RscVariant<512>");
        }
        *static_cast<RemoteArray::Subarray*>(element) = array.subarrays[array.next++];
        return;
    }
    RequireNext(array, array.scalars.size());
    if (elementBytes < sizeof(RemoteArray::Scalar))
    {
        throw ArgumentException::Create("elementBytes", elementBytes, "The buffer is too small for an element");
    }
    std::memcpy(element, array.scalars[array.next++].data(), sizeof(RemoteArray::Scalar));
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
    const bool hasSource = elementCount == 0 || !scalars.empty() || !subarrays.empty() || !IsPrimitive(elementType);
    information.readRemoteElement = hasSource ? &ReadElement : nullptr;
    information.remotingSource = hasSource ? this : nullptr;
    return information;
}

} // namespace Internal

using Internal::RemoteArray;

namespace
{

/// Each takes many times the memory that it takes in the message.
constexpr std::size_t maximumSubarrays = 1024;

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

private:
    std::array<char, sizeof(RscArrayInformation)> bytes = {};
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

std::span<const char> ReadRaw(sd_bus_message& message, RscType type, Payload& payload)
{
    switch (Internal::GetRawBytes(type))
    {
    case sizeof(uint32):
        return payload.Of(ReadBasic<uint32>(message, 'u'));
    case sizeof(uint64):
        return payload.Of(ReadBasic<uint64>(message, 't'));
    default:
        return ReadBytes(message);
    }
}

/// The text or, when it is no UTF-8, its bytes.
std::span<const char> ReadTextOrBytes(sd_bus_message& message, std::string_view contents)
{
    if (contents == Internal::bytesSignature)
    {
        return ReadBytes(message);
    }
    const char* const text = ReadBasic<const char*>(message, 's');
    return {text, std::strlen(text)};
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
    case RscType::Uint8:
        return payload.Of(ReadBasic<uint8>(message, 'y'));
    case RscType::Int16:
        return payload.Of(ReadBasic<int16>(message, 'n'));
    case RscType::Char16:
    case RscType::Uint16:
        return payload.Of(ReadBasic<uint16>(message, 'q'));
    case RscType::Int32:
        return payload.Of(ReadBasic<int32>(message, 'i'));
    case RscType::Int64:
        return payload.Of(ReadBasic<int64>(message, 'x'));
    case RscType::Real32:
        return payload.Of(static_cast<float>(ReadBasic<double>(message, 'd')));
    case RscType::Real64:
        return payload.Of(ReadBasic<double>(message, 'd'));
    case RscType::Version:
        return payload.Of(ReadVersion(message));
    case RscType::String:
        return ReadTextOrBytes(message, contents);
    default:
        return ReadRaw(message, type, payload);
    }
}

void AddScalar(void* target, RscType type, std::span<const char> payload)
{
    auto& array = *static_cast<RemoteArray*>(target);
    RemoteArray::Scalar element = {};
    if (type != array.elementType || !IsPrimitive(type) || payload.size() > element.size())
    {
        ThrowUnexpected();
    }
    std::memcpy(element.data(), payload.data(), payload.size());
    array.scalars.push_back(element);
}

void AddSubarray(void* target, RscType type, std::span<const char> payload)
{
    auto& array = *static_cast<RemoteArray*>(target);
    if (array.subarrays.size() >= maximumSubarrays)
    {
        ThrowUnexpected();
    }
    array.subarrays.emplace_back().Assign(type, payload);
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
        ReadPayload(array.dimensions > 1 ? &AddSubarray : &AddScalar, &array, Internal::subarrayBytes);
    }
    Check(sd_bus_message_exit_container(&message));
    const std::size_t count = array.scalars.size() + array.subarrays.size();
    if (count != 0 && count != array.elementCount)
    {
        ThrowUnexpected();
    }
    return array;
}

} // namespace Oxa::System::Rsc
