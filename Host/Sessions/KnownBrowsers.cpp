#include "Host/Sessions/KnownBrowsers.hpp"

#include "Oxa/System/Commons/Text.hpp"

#include <sodium.h>

#include <algorithm>
#include <cstddef>

namespace Oxa::Host::Sessions
{

namespace
{

constexpr std::size_t numberBytes = 16;
constexpr std::size_t hashBytes = 32;
constexpr int variant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;

using Hash = std::array<unsigned char, hashBytes>;
using Content = std::array<unsigned char, numberBytes + hashBytes>;

/// The number has a fixed length, so that the two parts cannot be confused.
Hash MakeHash(const KnownBrowsers::Key& key, const unsigned char* number, std::string_view userName)
{
    const BasicString text = "known browser " + BasicString(reinterpret_cast<const char*>(number), numberBytes) +
                             System::Commons::Text::FoldCase(userName);
    Hash hash;
    crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(text.data()), text.size(),
                       key.data(), key.size());
    return hash;
}

} // namespace

KnownBrowsers::~KnownBrowsers()
{
    sodium_memzero(key.data(), key.size());
}

BasicString KnownBrowsers::MakeCookie(std::string_view userName) const
{
    Content content;
    randombytes_buf(content.data(), numberBytes);
    std::ranges::copy(MakeHash(key, content.data(), userName), content.begin() + numberBytes);
    BasicString cookie(sodium_base64_ENCODED_LEN(content.size(), variant), '\0');
    sodium_bin2base64(cookie.data(), cookie.size(), content.data(), content.size(), variant);
    // Without the terminator.
    cookie.pop_back();
    return cookie;
}

BasicString KnownBrowsers::FindNumber(std::string_view cookie, std::string_view userName) const
{
    Content content;
    std::size_t bytes = 0;
    if (sodium_base642bin(content.data(), content.size(), cookie.data(), cookie.size(), nullptr, &bytes, nullptr,
                          variant) != 0 ||
        bytes != content.size())
    {
        return {};
    }
    const Hash hash = MakeHash(key, content.data(), userName);
    const bool isGenuine = sodium_memcmp(hash.data(), content.data() + numberBytes, hash.size()) == 0;
    return isGenuine ? BasicString(reinterpret_cast<const char*>(content.data()), numberBytes) : BasicString();
}

} // namespace Oxa::Host::Sessions
