#pragma once

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace Oxa::System::Rsc
{

/// The length of a text up to its NUL, at most `maximum`. Reads no byte beyond that.
[[nodiscard]] OXA_EXPORT std::size_t SecureStrnlen(const char* text, std::size_t maximum) noexcept;

/// Copies at most `count` characters of `source` and always terminates `destination`, truncating what does not fit.
/// Requires: `destinationBytes` is not 0. Returns how many characters were copied.
OXA_EXPORT std::size_t SecureStrncpy(char* destination, std::size_t destinationBytes, const char* source,
                                     std::size_t count) noexcept;

/// One NUL-terminated text of at most N - 1 characters in a buffer of its own. A value type without allocation; copying
/// copies only what is used.
template <std::size_t N>
class RscString final
{
public:
    RscString() noexcept
    {
        buffer[0] = '\0';
    }

    /// The text up to its first NUL. Throws ArgumentException when that has N characters or more.
    explicit RscString(const BasicString& text)
    {
        Assign(text.c_str());
    }

    explicit RscString(const char* text)
    {
        Assign(text);
    }

    RscString(const RscString& other) noexcept
    {
        CopyFrom(other);
    }

    RscString& operator=(const RscString& other) noexcept
    {
        if (this != &other)
        {
            CopyFrom(other);
        }
        return *this;
    }

    ~RscString() = default;

    [[nodiscard]] const char* CStr() const noexcept
    {
        return buffer.data();
    }

    [[nodiscard]] std::string_view GetView() const noexcept
    {
        return {buffer.data(), length};
    }

    [[nodiscard]] BasicString ToString() const
    {
        return BasicString(GetView());
    }

    bool operator==(const RscString& other) const noexcept
    {
        return GetView() == other.GetView();
    }

private:
    void Assign(const char* text)
    {
        const std::size_t textLength = SecureStrnlen(text, N);
        if (textLength >= N)
        {
            throw System::Commons::ArgumentException::Create("arg", text, "Input string is too long");
        }
        length = SecureStrncpy(buffer.data(), N, text, textLength);
    }

    void CopyFrom(const RscString& other) noexcept
    {
        std::memcpy(buffer.data(), other.buffer.data(), other.length + 1);
        length = other.length;
    }

    // Not cleared as a whole: a key of 30 characters need not cost 512 bytes of writing.
    std::array<char, N> buffer;
    std::size_t length = 0;
};

} // namespace Oxa::System::Rsc
