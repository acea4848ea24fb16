#include "Oxa/System/Rsc/RscMessageWriter.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"
#include "Oxa/System/Rsc/RscArrayReader.hpp"

#include <systemd/sd-bus.h>

#include <cstring>
#include <optional>
#include <system_error>

namespace Oxa::System::Rsc
{

using Internal::maximumBodyBytes;
using System::Commons::InvalidOperationException;

namespace
{

/// More than tags, lengths, signatures and padding of one value take.
constexpr std::size_t valueOverhead = 24;

void Check(int result)
{
    if (result < 0)
    {
        throw InvalidOperationException::Create("The value does not go into the message: {0}",
                                                std::generic_category().message(-result));
    }
}

template <class T>
[[nodiscard]] T Get(std::span<const char> payload) noexcept
{
    T value;
    std::memcpy(&value, payload.data(), sizeof value);
    return value;
}

/// How many bytes of its payload a value of the type needs at most: a text up to its NUL, all of a structure, as many
/// as the widest scalar for every other type.
std::size_t GetPayloadBytes(RscType type, std::span<const char> payload) noexcept
{
    switch (type)
    {
    case RscType::None:
    case RscType::Void:
    case RscType::NotSet:
        return 0;
    case RscType::String:
        return SecureStrnlen(payload.data(), payload.size());
    case RscType::Struct:
        return payload.size();
    default:
        return sizeof(RscGuid);
    }
}

/// A value of a basic type of D-Bus.
void AppendBasic(sd_bus_message& message, RscType type, char busType, const void* value)
{
    const auto tag = static_cast<uint8>(type);
    const char contents[] = {busType, '\0'};
    Check(sd_bus_message_open_container(&message, 'r', Internal::valueMembersSignature));
    Check(sd_bus_message_append_basic(&message, 'y', &tag));
    Check(sd_bus_message_open_container(&message, 'v', contents));
    Check(sd_bus_message_append_basic(&message, busType, value));
    Check(sd_bus_message_close_container(&message));
    Check(sd_bus_message_close_container(&message));
}

void AppendBytes(sd_bus_message& message, RscType type, std::span<const char> bytes)
{
    Check(sd_bus_message_open_container(&message, 'r', Internal::valueMembersSignature));
    Check(sd_bus_message_append(&message, "y", static_cast<uint8>(type)));
    Check(sd_bus_message_open_container(&message, 'v', Internal::bytesSignature));
    Check(sd_bus_message_append_array(&message, 'y', bytes.data(), bytes.size()));
    Check(sd_bus_message_close_container(&message));
    Check(sd_bus_message_close_container(&message));
}

/// A text that is no UTF-8 crosses as bytes, lest the bus refuses it.
void AppendText(sd_bus_message& message, std::span<const char> payload)
{
    const std::string_view text(payload.data(), SecureStrnlen(payload.data(), payload.size()));
    if (text.size() == payload.size() || !System::Commons::Text::IsValidUtf8(text))
    {
        AppendBytes(message, RscType::String, text);
        return;
    }
    Check(sd_bus_message_append(&message, RscMessageWriter::valueSignature, static_cast<uint8>(RscType::String), "s",
                                text.data()));
}

/// None when the variant's information about its elements is invalid: the reader at the peer reports that.
std::optional<RscArrayReader> TryMakeReader(const RscVariant<sizeof(RscArrayInformation)>& variant)
{
    try
    {
        return RscArrayReader(variant);
    }
    catch (const System::Commons::ArgumentException&)
    {
        return std::nullopt;
    }
}

} // namespace

RscMessageWriter::RscMessageWriter(sd_bus_message& message) noexcept
    : message(message), remainingBytes(maximumBodyBytes)
{
}

void RscMessageWriter::WriteBool(bool value)
{
    Reserve(0);
    Check(sd_bus_message_append(&message, "b", static_cast<int>(value)));
}

void RscMessageWriter::WriteUint16(uint16 value)
{
    Reserve(0);
    Check(sd_bus_message_append(&message, "q", value));
}

void RscMessageWriter::WriteUint32(uint32 value)
{
    Reserve(0);
    Check(sd_bus_message_append(&message, "u", value));
}

void RscMessageWriter::WriteUint64(uint64 value)
{
    Reserve(0);
    Check(sd_bus_message_append(&message, "t", value));
}

void RscMessageWriter::WriteInt64(int64 value)
{
    Reserve(0);
    Check(sd_bus_message_append(&message, "x", value));
}

void RscMessageWriter::WriteReal64(double value)
{
    Reserve(0);
    Check(sd_bus_message_append(&message, "d", value));
}

void RscMessageWriter::WriteText(std::string_view text)
{
    const bool canCross = text.find('\0') == std::string_view::npos && System::Commons::Text::IsValidUtf8(text);
    const std::string_view written = canCross ? text : std::string_view();
    Reserve(written.size());
    char* buffer = nullptr;
    Check(sd_bus_message_append_string_space(&message, written.size(), &buffer));
    written.copy(buffer, written.size());
}

void RscMessageWriter::BeginArray(const char* elementSignature)
{
    Reserve(0);
    Check(sd_bus_message_open_container(&message, 'a', elementSignature));
}

void RscMessageWriter::EndArray()
{
    Check(sd_bus_message_close_container(&message));
}

void RscMessageWriter::BeginStructure(const char* membersSignature)
{
    // Its members reserve more than its own padding.
    Check(sd_bus_message_open_container(&message, 'r', membersSignature));
}

void RscMessageWriter::EndStructure()
{
    Check(sd_bus_message_close_container(&message));
}

void RscMessageWriter::WritePayload(RscType type, std::span<const char> payload)
{
    Reserve(GetPayloadBytes(type, payload));
    const auto append = [this, type](char busType, auto value)
    {
        AppendBasic(message, type, busType, &value);
    };
    switch (type)
    {
    case RscType::None:
    case RscType::Void:
    case RscType::NotSet:
        return append('y', uint8{0});
    case RscType::Bool:
        return append('b', static_cast<int>(payload[0] != 0));
    case RscType::Int8:
        return append('n', int16{Get<int8>(payload)});
    case RscType::Real32:
        return append('d', double{Get<float>(payload)});
    case RscType::Version:
        return WriteVersion(Get<RscVersion>(payload));
    case RscType::String:
        return AppendText(message, payload);
    case RscType::Array:
        return WriteArray(Get<RscArrayInformation>(payload));
    default:
        const char busType = Internal::GetBusType(type);
        return busType != '\0' ? append(busType, Get<uint64>(payload))
                               : AppendBytes(message, type, payload.first(GetPayloadBytes(type, payload)));
    }
}

void RscMessageWriter::WriteVersion(const RscVersion& version)
{
    Check(sd_bus_message_append(&message, valueSignature, static_cast<uint8>(RscType::Version), "(uuuu)", version[0],
                                version[1], version[2], version[3]));
}

void RscMessageWriter::WriteArray(const RscArrayInformation& information)
{
    Check(sd_bus_message_open_container(&message, 'r', Internal::valueMembersSignature));
    Check(sd_bus_message_append(&message, "y", static_cast<uint8>(RscType::Array)));
    Check(sd_bus_message_open_container(&message, 'v', Internal::arraySignature));
    Check(sd_bus_message_open_container(&message, 'r', Internal::arrayMembersSignature));
    Check(sd_bus_message_append(&message, "yyu", static_cast<uint8>(information.elementType), information.dimensions,
                                information.elementCount));
    BeginArray(valueSignature);
    WriteElements(information);
    for (int open = 0; open < 4; ++open)
    {
        Check(sd_bus_message_close_container(&message));
    }
}

void RscMessageWriter::WriteElements(const RscArrayInformation& information)
{
    auto reader = TryMakeReader(RscVariant<sizeof(RscArrayInformation)>(information));
    const bool hasSubarrays = information.dimensions > 1;
    if (!reader || (!hasSubarrays && !IsPrimitive(information.elementType)))
    {
        return;
    }
    for (uint32 index = 0; index < information.elementCount; ++index)
    {
        if (hasSubarrays)
        {
            RscVariant<Internal::subarrayBytes> element;
            reader->ReadNextArray(element);
            WriteValue(element);
        }
        else
        {
            std::array<std::byte, RscArrayReader::maximumPrimitiveBytes> element = {};
            reader->ReadNext(element);
            WritePayload(information.elementType,
                         {reinterpret_cast<const char*>(element.data()), element.size()}); // NOLINT
        }
    }
}

void RscMessageWriter::Reserve(std::size_t bytes)
{
    if (bytes + valueOverhead > remainingBytes)
    {
        throw InvalidOperationException::Create("The message would be longer than {0} bytes", maximumBodyBytes);
    }
    remainingBytes -= bytes + valueOverhead;
}

} // namespace Oxa::System::Rsc
