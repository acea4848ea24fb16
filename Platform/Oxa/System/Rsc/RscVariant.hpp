#pragma once

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/NotSupportedException.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscString.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>

namespace Oxa::System::Rsc
{

/// Copies the next element of an array into `element`, a buffer of `elementBytes`. `context` is the source's
/// own. Throws a platform exception when there is none or the buffer is too small.
using ReadElementFunction = void (*)(void* context, void* element, std::size_t elementBytes);

/// What the payload of a variant of type Array holds. The elements are not in it: they are read one after the other
/// from the source, which is borrowed and valid only during the read that delivers the variant.
struct RscArrayInformation
{
    /// Of the first dimension.
    uint32 elementCount = 0;
    uint8 dimensions = 0;
    RscType elementType = RscType::NotSet;

    /// In the own process: null when the elements come from a remoting source.
    ReadElementFunction readElement = nullptr;
    void* readElementContext = nullptr;

    /// From another process: the function of the message reader and its state.
    ReadElementFunction readRemoteElement = nullptr;
    void* remotingSource = nullptr;
};

/// Four numbers, major first.
using RscVersion = std::array<uint32, 4>;
/// Sixteen bytes in the order in which they are printed.
using RscGuid = std::array<uint8, 16>;

namespace Internal
{

/// "1.2.3.4", and "00112233-4455-6677-8899-aabbccddeeff".
[[nodiscard]] OXA_EXPORT BasicString FormatVersion(const RscVersion& version);
[[nodiscard]] OXA_EXPORT BasicString FormatGuid(const RscGuid& guid);

template <class T>
struct RscTypeOf;

template <RscType type>
struct RscTypeIs
{
    static constexpr RscType value = type;
};

// clang-format off
template <> struct RscTypeOf<bool> : RscTypeIs<RscType::Bool> {};
template <> struct RscTypeOf<int8> : RscTypeIs<RscType::Int8> {};
template <> struct RscTypeOf<uint8> : RscTypeIs<RscType::Uint8> {};
template <> struct RscTypeOf<int16> : RscTypeIs<RscType::Int16> {};
template <> struct RscTypeOf<uint16> : RscTypeIs<RscType::Uint16> {};
template <> struct RscTypeOf<int32> : RscTypeIs<RscType::Int32> {};
template <> struct RscTypeOf<uint32> : RscTypeIs<RscType::Uint32> {};
template <> struct RscTypeOf<int64> : RscTypeIs<RscType::Int64> {};
template <> struct RscTypeOf<uint64> : RscTypeIs<RscType::Uint64> {};
template <> struct RscTypeOf<float> : RscTypeIs<RscType::Real32> {};
template <> struct RscTypeOf<double> : RscTypeIs<RscType::Real64> {};
template <> struct RscTypeOf<Oxa::DateTime> : RscTypeIs<RscType::DateTime> {};
template <> struct RscTypeOf<RscVersion> : RscTypeIs<RscType::Version> {};
template <> struct RscTypeOf<RscGuid> : RscTypeIs<RscType::Guid> {};
template <> struct RscTypeOf<RscArrayInformation> : RscTypeIs<RscType::Array> {};

// clang-format on

} // namespace Internal

/// One value that crosses a service boundary: N bytes of payload and a type tag. Scalars start at the first payload
/// byte in the machine's byte order; a text is the payload up to its first NUL, or all of it. A value type without
/// allocation; copying copies only what the type uses.
template <std::size_t N>
class RscVariant final
{
    static_assert(N >= sizeof(RscArrayInformation) && N >= sizeof(RscGuid));

public:
    /// Not set. A tag that is set later finds zeroes: an empty text, the number 0, an array of nothing.
    RscVariant() noexcept
    {
        std::memset(payload.data(), 0, initializedBytes);
    }

    template <class T>
    requires requires
    {
        Internal::RscTypeOf<T>::value;
    }

    explicit RscVariant(const T& value) noexcept : type(Internal::RscTypeOf<T>::value)
    {
        static_assert(std::is_trivially_copyable_v<T>);
        std::memset(payload.data(), 0, initializedBytes);
        std::memcpy(payload.data(), &value, sizeof(T));
    }

    /// A text. Throws ArgumentException when it has N bytes or more.
    explicit RscVariant(std::string_view text) : type(RscType::String)
    {
        if (text.size() >= N)
        {
            throw System::Commons::ArgumentException::Create("arg", text, "Input string is too long");
        }
        text.copy(payload.data(), text.size());
        payload[text.size()] = '\0';
    }

    explicit RscVariant(const char* text) : RscVariant(std::string_view(text)) {}

    RscVariant(const RscVariant& other) noexcept
    {
        CopyFrom(other);
    }

    RscVariant& operator=(const RscVariant& other) noexcept
    {
        if (this != &other)
        {
            CopyFrom(other);
        }
        return *this;
    }

    ~RscVariant() = default;

    [[nodiscard]] RscType GetType() const noexcept
    {
        return type;
    }

    /// Changes the tag only; the payload stays.
    void SetType(RscType newType) noexcept
    {
        type = newType;
    }

    /// All of the payload; only the bytes that the type uses are defined. Valid as long as the variant is not changed.
    [[nodiscard]] std::span<const char, N> GetPayload() const noexcept
    {
        return payload;
    }

    /// Becomes a value of the type with these payload bytes, and zeroes up to what its type uses. Throws
    /// ArgumentException when there are more than N bytes.
    void Assign(RscType newType, std::span<const char> bytes)
    {
        if (bytes.size() > N)
        {
            throw System::Commons::ArgumentException::Create("bytes", bytes.size(), "Value is too long");
        }
        std::memset(payload.data(), 0, initializedBytes);
        std::copy(bytes.begin(), bytes.end(), payload.begin());
        if (bytes.size() < N)
        {
            payload[bytes.size()] = '\0';
        }
        type = newType;
    }

    /// Copies the scalar out. Requires: the type tag is T's.
    template <class T>
    requires requires
    {
        Internal::RscTypeOf<T>::value;
    }

    void CopyTo(T& value) const noexcept
    {
        static_assert(std::is_trivially_copyable_v<T>);
        if constexpr (std::is_same_v<T, bool>)
        {
            // Read as a byte: one from outside may hold neither 0 nor 1.
            value = payload[0] != 0;
        }
        else
        {
            std::memcpy(&value, payload.data(), sizeof(T));
        }
    }

    /// The payload up to its first NUL, regardless of the type. Valid as long as the variant is not changed.
    [[nodiscard]] std::string_view GetText() const noexcept
    {
        return {payload.data(), SecureStrnlen(payload.data(), N)};
    }

    /// The value as text: empty for None, Void and NotSet; texts as they are, bools as "true" or "false", times in
    /// ISO 8601, versions and GUIDs in their usual form. Throws NotSupportedException for every other type.
    [[nodiscard]] BasicString ToString() const
    {
        switch (type)
        {
        case RscType::None:
        case RscType::Void:
        case RscType::NotSet:
            return {};
        case RscType::String:
            return BasicString(GetText());
        case RscType::Bool:
            return GetBool() ? "true" : "false";
        case RscType::DateTime:
            return Get<Oxa::DateTime>().ToIso8601String();
        case RscType::Version:
            return Internal::FormatVersion(Get<RscVersion>());
        case RscType::Guid:
            return Internal::FormatGuid(Get<RscGuid>());
        default:
            throw System::Commons::NotSupportedException::Create("RscVariant::ToString() not supported for type '{0}'",
                                                                 type);
        }
    }

    /// Throws InvalidOperationException when the value is no bool.
    [[nodiscard]] bool GetBool() const
    {
        if (type != RscType::Bool)
        {
            throw System::Commons::InvalidOperationException::Create("Value of RscVariant is not of type bool.");
        }
        return Get<bool>();
    }

private:
    template <class T>
    [[nodiscard]] T Get() const noexcept
    {
        T value;
        CopyTo(value);
        return value;
    }

    void CopyFrom(const RscVariant& other) noexcept
    {
        type = other.type;
        if (type == RscType::String)
        {
            const std::size_t length = SecureStrnlen(other.payload.data(), N);
            std::memcpy(payload.data(), other.payload.data(), length < N ? length + 1 : N);
        }
        else if (type == RscType::Struct)
        {
            payload = other.payload;
        }
        else
        {
            // As many bytes as the widest of the rest has; a size that is known beforehand makes it a few instructions.
            std::memcpy(payload.data(), other.payload.data(), initializedBytes);
        }
    }

    // The bytes behind the used part of a text are never read before they are written. Clearing them would cost more
    // than everything else that a variant does.
    static constexpr std::size_t initializedBytes = sizeof(RscArrayInformation);

    alignas(RscArrayInformation) std::array<char, N> payload;
    RscType type = RscType::NotSet;
};

} // namespace Oxa::System::Rsc
