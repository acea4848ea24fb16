#include "Oxa/System/Um/Internal/UserRules.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <cstddef>
#include <set>

namespace Oxa::System::Um::Internal
{

using System::Commons::ArgumentException;
namespace Text = System::Commons::Text;

namespace
{

constexpr std::size_t maximumNameBytes = 64;
constexpr std::size_t maximumPasswordBytes = 1024;
constexpr std::size_t maximumPatternBytes = 512;

/// Requires valid UTF-8, in which U+0080 to U+009F are 0xC2 and the character's last byte.
bool HasControlCharacter(std::string_view text) noexcept
{
    unsigned char previous = 0;
    for (const char character : text)
    {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7F || (previous == 0xC2 && byte <= 0x9F))
        {
            return true;
        }
        previous = byte;
    }
    return false;
}

bool IsText(std::string_view text, std::size_t maximumBytes) noexcept
{
    return !text.empty() && text.size() <= maximumBytes && Text::IsValidUtf8(text) && !HasControlCharacter(text);
}

void CheckText(std::string_view parameterName, std::string_view text, std::size_t maximumBytes)
{
    if (!IsText(text, maximumBytes))
    {
        throw ArgumentException::Create(
            parameterName, Text::EscapeControlCharacters(text.substr(0, maximumBytes)),
            Text::Format("It must have 1 to {0} bytes of UTF-8 without control characters", maximumBytes));
    }
}

} // namespace

bool IsName(std::string_view text) noexcept
{
    return IsText(text, maximumNameBytes);
}

bool IsPassword(std::string_view text) noexcept
{
    return !text.empty() && text.size() <= maximumPasswordBytes;
}

void CheckName(std::string_view parameterName, std::string_view text)
{
    CheckText(parameterName, text, maximumNameBytes);
}

void CheckPassword(std::string_view text)
{
    if (!IsPassword(text))
    {
        throw ArgumentException(
            Text::Format("The argument 'password' is not valid. It must have 1 to {0} bytes.", maximumPasswordBytes));
    }
}

void CheckRole(const RoleInfo& role)
{
    CheckName("roleName", role.name);
    std::set<std::string_view> patterns;
    for (const ObjectPermission& permission : role.permissions)
    {
        CheckText("objectPattern", permission.objectPattern, maximumPatternBytes);
        if (!patterns.insert(permission.objectPattern).second)
        {
            throw ArgumentException::Create("objectPattern", permission.objectPattern, "It occurs twice");
        }
    }
}

} // namespace Oxa::System::Um::Internal
