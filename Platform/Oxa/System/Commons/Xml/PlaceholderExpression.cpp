#include "Oxa/System/Commons/Xml/PlaceholderExpression.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"

#include <cstdlib>

namespace Oxa::System::Commons::Xml
{

PlaceholderExpression::PlaceholderExpression(const AppDomain* appDomain) noexcept : appDomain(appDomain) {}

BasicString PlaceholderExpression::Resolve(std::string_view text) const
{
    constexpr std::string_view opening = "${";
    BasicString result;
    while (true)
    {
        const std::size_t start = text.find(opening);
        const std::size_t end = start == std::string_view::npos ? start : text.find('}', start);
        if (end == std::string_view::npos)
        {
            return result.append(text);
        }
        result += text.substr(0, start);
        const BasicString name(text.substr(start + opening.size(), end - start - opening.size()));
        BasicString value;
        result += TryResolveName(name, value) ? std::string_view(value) : text.substr(start, end - start + 1);
        text.remove_prefix(end + 1);
    }
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
