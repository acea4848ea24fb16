#include "Host/Http/HostNames.hpp"

#include "Host/Http/HttpSyntax.hpp"
#include "Host/Http/Problem.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <arpa/inet.h>
#include <linux/if_addr.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>

namespace Oxa::Host::Http
{

using boost::asio::ip::address;

namespace
{

constexpr std::string_view secureScheme = "https://";

std::optional<address> ToAddress(std::string_view text)
{
    boost::system::error_code error;
    const address result = boost::asio::ip::make_address(text, error);
    return error ? std::nullopt : std::optional(result);
}

/// The host name that is set now; empty when it is too long for the network.
std::string_view ReadMachineName(std::array<char, 256>& buffer) noexcept
{
    buffer.fill('\0');
    return gethostname(buffer.data(), buffer.size() - 1) == 0 ? buffer.data() : "";
}

bool IsMachineName(std::string_view name) noexcept
{
    if (AreEqual(name, "localhost"))
    {
        return true;
    }
    std::array<char, 256> buffer;
    const std::string_view machine = ReadMachineName(buffer);
    const std::string_view label = machine.substr(0, machine.find('.'));
    const bool hasLabel = !label.empty() && AreEqual(name.substr(0, label.size()), label);
    const std::string_view domain = name.substr(std::min(label.size(), name.size()));
    return (hasLabel && (domain.empty() || AreEqual(domain, ".local"))) ||
           (!machine.empty() && AreEqual(name, machine));
}

/// Without a netlink socket, which the restrictions of a service may forbid.
void AddVersion4Addresses(std::vector<BasicString>& addresses)
{
    constexpr std::size_t maximumInterfaces = 64;
    std::array<ifreq, maximumInterfaces> found = {};
    ifconf list = {};
    list.ifc_len = sizeof(found);
    list.ifc_req = found.data();
    const System::Commons::FileDescriptor any(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (ioctl(any.Get(), SIOCGIFCONF, &list) != 0)
    {
        return;
    }
    for (std::size_t index = 0; index < static_cast<std::size_t>(list.ifc_len) / sizeof(ifreq); ++index)
    {
        sockaddr_in socketAddress = {};
        std::memcpy(&socketAddress, &found[index].ifr_addr, sizeof(socketAddress));
        addresses.push_back(boost::asio::ip::make_address_v4(ntohl(socketAddress.sin_addr.s_addr)).to_string());
    }
}

/// Not those that are valid on one link only, nor temporary ones.
void AddVersion6Addresses(std::vector<BasicString>& addresses)
{
    constexpr unsigned globalScope = 0;
    constexpr unsigned passingFlags = IFA_F_TEMPORARY | IFA_F_DEPRECATED | IFA_F_TENTATIVE | IFA_F_DADFAILED;
    addresses.emplace_back("::1");
    std::ifstream table("/proc/self/net/if_inet6");
    BasicString digits;
    BasicString interfaceName;
    unsigned index = 0;
    unsigned prefix = 0;
    unsigned scope = 0;
    unsigned flags = 0;
    table >> std::hex;
    while (table >> digits >> index >> prefix >> scope >> flags >> interfaceName)
    {
        for (std::size_t colon = 4; colon < digits.size(); colon += 5)
        {
            digits.insert(colon, 1, ':');
        }
        const auto ipAddress = ToAddress(digits);
        if (ipAddress && scope == globalScope && (flags & passingFlags) == 0)
        {
            addresses.push_back(ipAddress->to_string());
        }
    }
}

/// Without the port, the brackets around an address and the dot behind a full name.
std::string_view TakeName(std::string_view host) noexcept
{
    if (host.starts_with('['))
    {
        return host.substr(1, host.find(']') - 1);
    }
    host = host.substr(0, host.find(':'));
    return host.ends_with('.') ? host.substr(0, host.size() - 1) : host;
}

} // namespace

HostNames::HostNames(const std::vector<BasicString>& newConfigured)
{
    for (const std::string_view each : newConfigured)
    {
        const bool isBehindProxy = each.starts_with(secureScheme);
        const std::string_view name = each.substr(isBehindProxy ? secureScheme.size() : 0);
        const auto ipAddress = ToAddress(name);
        configured.push_back({ipAddress ? ipAddress->to_string() : BasicString(TakeName(name)), isBehindProxy});
    }
}

HostNames::Match HostNames::Find(std::string_view host, const address& localAddress) const
{
    if (host.data() == nullptr)
    {
        return Match::Own;
    }
    const std::string_view name = TakeName(host);
    const auto ipAddress = ToAddress(name);
    const BasicString text = ipAddress ? ipAddress->to_string() : BasicString(name);
    const auto found =
        std::ranges::find_if(configured, [&text](const Name& each) { return AreEqual(each.text, text); });
    if (found != configured.end())
    {
        return found->isBehindProxy ? Match::OwnBehindProxy : Match::Own;
    }
    // A forwarded port may lead from one loopback address to another.
    const bool isOwn = ipAddress
                           ? *ipAddress == localAddress || (ipAddress->is_loopback() && localAddress.is_loopback())
                           : IsMachineName(name);
    return isOwn ? Match::Own : Match::Foreign;
}

std::vector<BasicString> HostNames::GetAll(const address& listening) const
{
    std::vector<BasicString> names{"localhost"};
    std::array<char, 256> buffer;
    if (const std::string_view machine = ReadMachineName(buffer); !machine.empty())
    {
        const BasicString label(machine.substr(0, machine.find('.')));
        names.emplace_back(machine);
        names.push_back(label);
        names.push_back(label + ".local");
    }
    std::ranges::transform(configured, std::back_inserter(names), &Name::text);
    if (!listening.is_unspecified())
    {
        names.push_back(listening.to_string());
    }
    else
    {
        AddVersion4Addresses(names);
        if (listening.is_v6())
        {
            AddVersion6Addresses(names);
        }
    }
    std::ranges::sort(names);
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

BasicString FormatOrigin(bool isSecure, std::string_view host, uint16 port)
{
    constexpr uint16 usualPort = 80;
    constexpr uint16 usualSecurePort = 443;
    host.remove_prefix(host.starts_with(secureScheme) ? secureScheme.size() : 0);
    const bool isVersion6 = host.find(':') != std::string_view::npos;
    const BasicString origin =
        System::Commons::Text::Format(isVersion6 ? "{0}[{1}]" : "{0}{1}", isSecure ? secureScheme : "http://", host);
    return port == (isSecure ? usualSecurePort : usualPort) ? origin
                                                            : System::Commons::Text::Format("{0}:{1}", origin, port);
}

Handling SendRedirect(IHttpExchange& exchange, std::string_view target)
{
    const HttpRequest& request = exchange.GetRequest();
    if (!IsRead(request.method) || !request.path.starts_with('/'))
    {
        return SendProblem(exchange, Problems::tlsRequired);
    }
    const std::string_view separator = request.query.data() != nullptr && !request.query.empty() ? "?" : "";
    exchange.Send({.status = 308,
                   .fields = System::Commons::Text::Format("Location: {0}{1}{2}{3}\r\n", target, request.path,
                                                           separator, request.query)});
    return Handling::Completed;
}

} // namespace Oxa::Host::Http
