#include "Host/Http/JsonBody.hpp"

#include "Oxa/System/Commons/Text.hpp"

#include <algorithm>

namespace Oxa::Host::Http
{

using System::Commons::Json::JsonException;
using System::Commons::Text::Format;

namespace
{

/// Clients choose the texts.
constexpr std::size_t maximumShownBytes = 64;

constexpr std::string_view GetTypeName(JsonBody::TokenType type) noexcept
{
    switch (type)
    {
    case JsonBody::TokenType::String:
        return "a string";
    case JsonBody::TokenType::Number:
        return "a number";
    default:
        return "true or false";
    }
}

} // namespace

JsonBody::JsonBody(std::string_view body, std::initializer_list<Member> members)
{
    try
    {
        reader.emplace(body);
        fault = Read(members);
    }
    catch (const JsonException& exception)
    {
        fault = exception.what();
    }
}

BasicString JsonBody::Read(std::initializer_list<Member> members)
{
    if (reader->Read() != TokenType::StartObject)
    {
        return "The JSON document is not an object";
    }
    while (reader->Read() == TokenType::PropertyName)
    {
        const std::string_view name = reader->GetText();
        const std::string_view shownName = System::Commons::Text::Truncate(name, maximumShownBytes);
        const auto* const member = std::ranges::find(members, name, &Member::name);
        if (member == members.end())
        {
            return Format("The member '{0}' is unknown", shownName);
        }
        if (Find(name) != nullptr)
        {
            return Format("The member '{0}' is there twice", shownName);
        }
        if (reader->Read() != member->type)
        {
            return Format("The member '{0}' must be {1}", shownName, GetTypeName(member->type));
        }
        values.push_back({name, reader->GetText(), reader->GetBoolean()});
    }
    const auto* const missing = std::ranges::find_if(members, [this](const Member& each)
                                                     { return each.isRequired && Find(each.name) == nullptr; });
    return missing == members.end() ? BasicString() : Format("The member '{0}' is missing", missing->name);
}

std::optional<std::string_view> JsonBody::FindText(std::string_view name) const noexcept
{
    const Value* const value = Find(name);
    return value != nullptr ? std::optional(value->text) : std::nullopt;
}

std::optional<bool> JsonBody::FindBoolean(std::string_view name) const noexcept
{
    const Value* const value = Find(name);
    return value != nullptr ? std::optional(value->boolean) : std::nullopt;
}

std::string_view JsonBody::GetText(std::string_view name) const noexcept
{
    return FindText(name).value_or(std::string_view());
}

const JsonBody::Value* JsonBody::Find(std::string_view name) const noexcept
{
    const auto found = std::ranges::find(values, name, &Value::name);
    return found != values.end() ? &*found : nullptr;
}

std::shared_ptr<const JsonBody> ReadBody(const HttpRequest& request, std::initializer_list<JsonBody::Member> members)
{
    return std::make_shared<const JsonBody>(request.body, members);
}

} // namespace Oxa::Host::Http
