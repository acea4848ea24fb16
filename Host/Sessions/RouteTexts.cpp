#include "Host/Sessions/RouteTexts.hpp"

#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Um/UserInfo.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::Host::Sessions
{

BasicString FormatTime(std::chrono::seconds fromNow)
{
    const auto time = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now() + fromNow);
    return DateTime::FromUnixTimeMicroseconds(time.time_since_epoch() / std::chrono::microseconds(1)).ToIso8601String();
}

void WriteSession(System::Commons::Json::JsonWriter& writer, std::string_view userName, std::string_view roleName,
                  bool mustChangePassword, const Configuration::SessionConfiguration& configuration,
                  std::chrono::seconds remaining, std::chrono::seconds idleLeft)
{
    writer.WriteValue("user", userName);
    writer.WriteValue("role", roleName);
    writer.WriteValue("mustChangePassword", mustChangePassword);
    writer.WriteValue("idleSeconds", static_cast<int64>(configuration.idleTimeout.count()));
    writer.WriteValue("idleLeftSeconds", static_cast<int64>(idleLeft.count()));
    writer.WriteValue("expires", FormatTime(remaining));
    writer.WriteValue("expiresInSeconds", static_cast<int64>(remaining.count()));
}

Http::SecretText AppendToken(std::string_view jsonObject, std::string_view token)
{
    constexpr std::string_view member = R"(,"token":")";
    constexpr std::string_view end = "\"}";
    BasicString text;
    text.reserve(jsonObject.size() + member.size() + token.size() + end.size());
    text.append(jsonObject.substr(0, jsonObject.size() - 1)).append(member).append(token).append(end);
    return Http::SecretText(std::move(text));
}

void AppendCookie(BasicString& fields, std::string_view name, std::string_view value, bool isSecure,
                  std::string_view attributes)
{
    fields.append("Set-Cookie: ").append(name).append("=").append(value);
    fields.append("; Path=/; HttpOnly; SameSite=Strict").append(isSecure ? "; Secure" : "");
    fields.append(attributes).append("\r\n");
}

BasicString FindRoleFault(std::string_view roleName)
{
    const bool isRole = std::ranges::find(System::Um::roleNames, roleName) != System::Um::roleNames.end();
    return isRole ? BasicString() : BasicString("The member 'role' must be Admin, Engineer or Viewer");
}

} // namespace Oxa::Host::Sessions
