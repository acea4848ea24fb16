#pragma once

#include "Host/Http/HttpExchange.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/ip/address.hpp>

#include <string_view>
#include <vector>

namespace Oxa::Host::Http
{

/// The names and addresses by which clients may call this host: "localhost", the machine's host name, the address that
/// the client connected to, and configured ones. Requests with another `Host` are refused, because a page of another
/// site can give its own name this host's address (DNS rebinding) and then counts as a page of this host. Ports are not
/// compared: they may be forwarded. Immutable. Threads: safe from any thread.
class HostNames final
{
public:
    enum class Match : uint8
    {
        Foreign,
        Own,
        /// Configured with "https://": a proxy on this machine encrypts what its clients send under this name.
        OwnBehindProxy
    };

    explicit HostNames(const std::vector<BasicString>& configured);

    /// `host`: the valid value of a header field, or of an absolute target. A request without one (HTTP/1.0) matches.
    /// `localAddress`: that the client connected to.
    [[nodiscard]] Match Find(std::string_view host, const boost::asio::ip::address& localAddress) const;

    /// Those that a certificate should name, IP addresses in their normal form. `listening`: the address that clients
    /// connect to, or the unspecified one for all of this machine that last.
    [[nodiscard]] std::vector<BasicString> GetAll(const boost::asio::ip::address& listening) const;

private:
    struct Name
    {
        /// Of an address its normal form.
        BasicString text;
        bool isBehindProxy = false;
    };

    std::vector<Name> configured;
};

/// "http[s]://HOST[:PORT]", without the scheme's usual port and with brackets around an address of IP version 6.
/// `host`: as configured.
[[nodiscard]] BasicString FormatOrigin(bool isSecure, std::string_view host, uint16 port);

/// Sends a reading request on to `target`, "https://NAME[:PORT]", and refuses others, which have already sent what they
/// hold without encryption.
Handling SendRedirect(IHttpExchange& exchange, std::string_view target);

} // namespace Oxa::Host::Http
