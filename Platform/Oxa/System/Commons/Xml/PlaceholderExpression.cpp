#include "Oxa/System/Commons/Xml/PlaceholderExpression.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"

#include <algorithm>
#include <cstdlib>

namespace Oxa::System::Commons::Xml
{

namespace
{

constexpr std::string_view opening = "${";
constexpr std::string_view defaultMark = ":-";

/// The closing brace of the placeholder that the text begins with, whose default may hold others.
std::size_t FindEnd(std::string_view text) noexcept
{
    int depth = 0;
    for (std::size_t index = 0; index < text.size(); ++index)
    {
        if (text.substr(index).starts_with(opening))
        {
            ++depth;
        }
        else if (text[index] == '}' && --depth == 0)
        {
            return index;
        }
    }
    return std::string_view::npos;
}

} // namespace

PlaceholderExpression::PlaceholderExpression(const AppDomain* appDomain) noexcept : appDomain(appDomain) {}

BasicString PlaceholderExpression::Resolve(std::string_view text) const
{
    BasicString result;
    while (true)
    {
        const std::size_t start = std::min(text.find(opening), text.size());
        result += text.substr(0, start);
        text.remove_prefix(start);
        const std::size_t end = FindEnd(text);
        if (end == std::string_view::npos)
        {
            return result.append(text);
        }
        result += ResolvePlaceholder(text.substr(0, end + 1));
        text.remove_prefix(end + 1);
    }
}

BasicString PlaceholderExpression::ResolvePlaceholder(std::string_view placeholder) const
{
    const std::string_view content = placeholder.substr(opening.size(), placeholder.size() - opening.size() - 1);
    const std::size_t mark = content.find(defaultMark);
    const std::optional<BasicString> value = FindVariable(BasicString(content.substr(0, mark)));
    if (mark != std::string_view::npos && (!value || value->empty()))
    {
        return Resolve(content.substr(mark + defaultMark.size()));
    }
    return value.value_or(BasicString(placeholder));
}

std::optional<BasicString> PlaceholderExpression::FindVariable(const BasicString& name) const
{
    auto variable = appDomain != nullptr ? appDomain->TryGetVariable(name) : std::nullopt;
    if (const char* const fallback = std::getenv(name.c_str()); !variable && fallback != nullptr)
    {
        variable = fallback;
    }
    return variable;
}

} // namespace Oxa::System::Commons::Xml
