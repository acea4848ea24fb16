#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Http/SecretText.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <string_view>

namespace Oxa::System::Commons::Json
{
class JsonWriter;
}

// Parts of requests and responses that several routes have.

namespace Oxa::Host::Sessions
{

/// A time of the system's clock, in whole seconds.
[[nodiscard]] BasicString FormatTime(std::chrono::seconds fromNow);

/// Writes the members of a session into the open JSON object. `remaining`: until it ends at the latest; `idleLeft`:
/// until it ends without further use.
void WriteSession(System::Commons::Json::JsonWriter& writer, std::string_view userName, std::string_view roleName,
                  bool mustChangePassword, const Configuration::SessionConfiguration& configuration,
                  std::chrono::seconds remaining, std::chrono::seconds idleLeft);

/// The JSON object with one more member "token". Built in one piece, so that no part of the secret is left elsewhere.
/// Requires: the object has members, and the token no character that JSON escapes.
[[nodiscard]] Http::SecretText AppendToken(std::string_view jsonObject, std::string_view token);

/// Appends a header field Set-Cookie. Reserve the space for a secret before.
void AppendCookie(BasicString& fields, std::string_view name, std::string_view value, bool isSecure,
                  std::string_view attributes);

/// What is wrong with the name of a role, for the client; empty for nothing.
[[nodiscard]] BasicString FindRoleFault(std::string_view roleName);

} // namespace Oxa::Host::Sessions
