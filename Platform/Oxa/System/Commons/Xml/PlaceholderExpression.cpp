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
    BasicString value;
    const bool isKnown = TryResolveName(BasicString(content.substr(0, mark)), value);
    if (mark != std::string_view::npos)
    {
        return value.empty() ? Resolve(content.substr(mark + defaultMark.size())) : value;
    }
    return isKnown ? value : BasicString(placeholder);
}

bool PlaceholderExpression::TryResolveName(const BasicString& name, BasicString& value) const
{
    if (appDomain != nullptr)
    {
        if (auto variable = appDomain->TryGetVariable(name))
        {
            value = std::move(*variable);
            return true;
        }
    }
    const char* const variable = std::getenv(name.c_str());
    if (variable == nullptr)
    {
        return false;
    }
    value = variable;
    return true;
}

} // namespace Oxa::System::Commons::Xml
