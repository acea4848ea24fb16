#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Json/JsonReader.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <initializer_list>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace Oxa::Host::Http
{

/// The JSON object in a request's body. Only the members that its reader allows, each at most once, with texts, numbers
/// or booleans as values. Wiped in the end, since it may hold a password. Threads: one at a time.
class JsonBody final
{
public:
    using TokenType = System::Commons::Json::JsonTokenType;

    struct Member
    {
        std::string_view name;
        /// String, Number or Boolean.
        TokenType type = TokenType::String;
        bool isRequired = true;
    };

    JsonBody(std::string_view body, std::initializer_list<Member> members);
    JsonBody(const JsonBody&) = delete;
    JsonBody& operator=(const JsonBody&) = delete;

    /// What is wrong with the body, for the client; empty for nothing. The others require that it is empty.
    [[nodiscard]] const BasicString& GetFault() const noexcept
    {
        return fault;
    }

    /// Of a text or a number, as it is written. Nothing for a member that was not sent. Valid as long as the body.
    [[nodiscard]] std::optional<std::string_view> FindText(std::string_view name) const noexcept;

    [[nodiscard]] std::optional<bool> FindBoolean(std::string_view name) const noexcept;

    /// Of a required member. Valid as long as the body.
    [[nodiscard]] std::string_view GetText(std::string_view name) const noexcept;

private:
    struct Value
    {
        std::string_view name;
        std::string_view text;
        bool boolean = false;
    };

    [[nodiscard]] BasicString Read(std::initializer_list<Member> members);
    [[nodiscard]] const Value* Find(std::string_view name) const noexcept;

    std::optional<System::Commons::Json::JsonReader> reader;
    std::vector<Value> values;
    BasicString fault;
};

/// The request's body, for a task that outlives the handler.
[[nodiscard]] std::shared_ptr<const JsonBody> ReadBody(const HttpRequest& request,
                                                       std::initializer_list<JsonBody::Member> members);

} // namespace Oxa::Host::Http
