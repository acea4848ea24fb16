#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <string_view>

namespace Oxa::Host::Sessions
{

/// Makes and recognizes the cookies by which a browser shows that a user has logged in with it before. A cookie is a
/// random number and its keyed hash with the user's name; it is kept nowhere else. It proves nothing about who uses the
/// browser now. Threads: safe from any thread.
class KnownBrowsers final
{
public:
    using Key = std::array<unsigned char, 32>;

    /// Cookies are valid as long as the key is used.
    explicit KnownBrowsers(const Key& key) noexcept : key(key) {}

    KnownBrowsers(const KnownBrowsers&) = delete;
    KnownBrowsers& operator=(const KnownBrowsers&) = delete;
    ~KnownBrowsers();

    /// The value of a new cookie, 64 characters of base64url.
    [[nodiscard]] BasicString MakeCookie(std::string_view userName) const;

    /// The cookie's number, random bytes; empty unless the cookie was made for this user. Names are compared without
    /// case.
    [[nodiscard]] BasicString FindNumber(std::string_view cookie, std::string_view userName) const;

private:
    Key key;
};

} // namespace Oxa::Host::Sessions
