#include "Host/Configuration/HostConfiguration.hpp"

#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"

#include <boost/asio/ip/address.hpp>

#include <filesystem>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace Oxa::Host::Configuration
{

using std::chrono::milliseconds;
using std::chrono::seconds;
using System::Commons::Xml::XmlElementReader;
using System::Rsc::RscEndpointConfiguration;

namespace
{

constexpr std::size_t megabyte = std::size_t{1024} * 1024;

void ReadRequestLimits(XmlElementReader& element, RequestLimits& limits)
{
    element.Read("maximumHeaderBytes", limits.maximumHeaderBytes, 1024, 65536);
    element.Read("maximumHeaderFields", limits.maximumHeaderFields, 16, 1000);
    element.Read("maximumRepetitions", limits.maximumRepetitions, 1, 1000);
    element.Read("maximumBodyBytes", limits.maximumBodyBytes, 1024, megabyte);
    element.Read("maximumBodyBytesWithoutSession", limits.maximumBodyBytesWithoutSession, 1024, megabyte);
    if (limits.maximumBodyBytesWithoutSession > limits.maximumBodyBytes)
    {
        element.ReportBadValue("maximumBodyBytesWithoutSession", std::to_string(limits.maximumBodyBytesWithoutSession),
                               "at most maximumBodyBytes");
    }
}

/// A name or IP address, perhaps behind "https://".
bool IsHost(std::string_view text)
{
    constexpr std::string_view scheme = "https://";
    constexpr std::string_view characters = "-._0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    text.remove_prefix(text.starts_with(scheme) ? scheme.size() : 0);
    boost::system::error_code error;
    boost::asio::ip::make_address(text, error);
    return !error || (!text.empty() && text.find_first_not_of(characters) == std::string_view::npos);
}

void ReadEncryption(XmlElementReader& element, HttpConfiguration& http, bool isLoopback)
{
    http.isSecure = !isLoopback;
    element.Read("tls", http.isSecure);
    if (!http.isSecure && !isLoopback)
    {
        element.ReportBadValue("tls", "false", "true, because plain HTTP is served on a loopback address only");
    }
    element.Read("certificates", http.certificatesPath);
    BasicString hosts;
    element.Read("hosts", hosts);
    for (std::istringstream words(hosts); words >> hosts;)
    {
        if (!IsHost(hosts))
        {
            element.ReportBadValue("hosts", hosts, "names or IP addresses without port, with blanks between them");
        }
        http.hosts.push_back(hosts);
    }
    uint16 redirectPort = 0;
    if (element.Read("redirectPort", redirectPort, 0, std::numeric_limits<uint16>::max()))
    {
        http.redirectPort = redirectPort;
        if (!http.isSecure || http.hosts.empty())
        {
            element.ReportBadValue("redirectPort", std::to_string(redirectPort),
                                   "encryption and a name in 'hosts' to redirect to");
        }
    }
}

void ReadHttp(XmlElementReader& element, HttpConfiguration& http)
{
    constexpr seconds longest{3600};
    http.position = element.GetPosition();
    element.Read("address", http.address);
    boost::system::error_code error;
    const auto address = boost::asio::ip::make_address(http.address, error);
    if (error)
    {
        element.ReportBadValue("address", http.address, "an IP address");
    }
    element.Read("port", http.port, 0, std::numeric_limits<uint16>::max());
    ReadEncryption(element, http, address.is_loopback());
    element.Read("maximumConnections", http.maximumConnections, 1, 10000);
    element.Read("maximumConnectionsPerAddress", http.maximumConnectionsPerAddress, 1, 10000);
    ReadRequestLimits(element, http.requestLimits);
    element.Read("sendBufferBytes", http.sendBufferBytes, 4096, megabyte);
    element.Read("maximumUnsentBytes", http.maximumUnsentBytes, 65536, 1024 * megabyte);
    element.Read("firstByteSeconds", http.firstByteTimeout, seconds(1), longest);
    element.Read("idleSeconds", http.idleTimeout, seconds(1), longest);
    element.Read("headerSeconds", http.headerTimeout, seconds(1), longest);
    element.Read("bodySeconds", http.bodyTimeout, seconds(1), longest);
    element.Read("writeSeconds", http.writeTimeout, seconds(1), longest);
    element.Read("shutdownSeconds", http.shutdownTimeout, seconds(1), longest);
}

void ReadSessions(XmlElementReader& element, SessionConfiguration& sessions)
{
    constexpr seconds longest{30 * 24 * 3600};
    element.Read("idleSeconds", sessions.idleTimeout, seconds(1), longest);
    element.Read("lifetimeSeconds", sessions.lifetime, seconds(1), longest);
    element.Read("maximumPerUser", sessions.maximumPerUser, 1, 64);
    element.Read("maximumTotal", sessions.maximumTotal, 1, 4096);
    element.Read("wrongPasswordsPerAccount", sessions.wrongPasswordsPerAccount, 1, 1000);
    element.Read("wrongPasswordsPerAddress", sessions.wrongPasswordsPerAddress, 1, 10000);
    constexpr std::size_t longestNotice = 2000;
    if (element.Read("notice", sessions.notice) && sessions.notice.size() > longestNotice)
    {
        element.ReportBadValue("notice", System::Commons::Text::Truncate(sessions.notice, 40),
                               "a text of at most 2000 bytes");
    }
}

void ReadAudit(XmlElementReader& element, AuditConfiguration& audit)
{
    element.Read("database", audit.databasePath);
    element.Read("maximumMebibytes", audit.maximumMebibytes, 4, 1024);
    audit.position = element.GetPosition();
}

void ReadServiceProvider(XmlElementReader& element, std::vector<RscEndpointConfiguration>& endpoints)
{
    /// The bytes that the address of a Unix socket can hold.
    constexpr std::size_t longestSocketPath = 107;
    constexpr milliseconds shortest{10};
    constexpr milliseconds longest{60'000};
    RscEndpointConfiguration endpoint;
    element.ReadRequired("name", endpoint.providerName);
    element.RequireNew("name", endpoint.providerName, endpoints, &RscEndpointConfiguration::providerName);
    element.ReadRequired("socket", endpoint.socketPath);
    if (!endpoint.socketPath.starts_with('/') || endpoint.socketPath.size() > longestSocketPath)
    {
        element.ReportBadValue("socket", endpoint.socketPath, "an absolute path of at most 107 bytes");
    }
    element.Read("readMilliseconds", endpoint.readTimeout, shortest, longest);
    element.Read("commandMilliseconds", endpoint.commandTimeout, shortest, longest);
    endpoints.push_back(std::move(endpoint));
}

void RequireAbsolute(XmlElementReader& element, std::string_view attributeName, const BasicString& path)
{
    if (!path.starts_with('/') && !element.IsBad(attributeName))
    {
        element.ReportBadValue(attributeName, path, "an absolute path");
    }
}

void ReadModule(XmlElementReader& element, std::vector<ModuleConfiguration>& modules)
{
    ModuleConfiguration module;
    element.ReadRequired("name", module.name);
    element.RequireNew("name", module.name, modules, &ModuleConfiguration::name);
    element.Read("enabled", module.isEnabled);
    if (element.Read("settings", module.settingsPath))
    {
        RequireAbsolute(element, "settings", module.settingsPath);
    }
    modules.push_back(std::move(module));
}

void ReadModules(XmlElementReader& element, ModulesConfiguration& modules)
{
    modules.position = element.GetPosition();
    element.ReadRequired("folder", modules.folder);
    RequireAbsolute(element, "folder", modules.folder);
    element.ReadList("Module", [&modules](XmlElementReader& child) { ReadModule(child, modules.modules); });
}

void ReadUsers(XmlElementReader& element, HostConfiguration& configuration)
{
    element.ReadRequired("database", configuration.usersDatabasePath);
    configuration.usersPosition = element.GetPosition();
}

void ReadPage(XmlElementReader& element, HostConfiguration& configuration)
{
    element.ReadRequired("folder", configuration.pageFolder);
    configuration.pagePosition = element.GetPosition();
}

void ReadRequests(XmlElementReader& element, WaitingLimits& limits)
{
    element.Read("maximumWaiting", limits.maximum, 0, 1000);
    element.Read("maximumWaitingPerClient", limits.maximumPerClient, 0, 1000);
}

void ReadServices(XmlElementReader& element, std::vector<RscEndpointConfiguration>& endpoints)
{
    element.ReadList("Provider", [&endpoints](XmlElementReader& child) { ReadServiceProvider(child, endpoints); });
}

/// What reads an element into `target`, which is borrowed.
template <class T>
auto Into(void (*read)(XmlElementReader&, T&), T& target)
{
    return [read, &target](XmlElementReader& element)
    {
        read(element, target);
    };
}

void ReadDocument(XmlElementReader& root, HostConfiguration& configuration)
{
    root.ReadChildren({{"Log", Into(&System::Commons::Diagnostics::Logging::ReadLogConfiguration, configuration.log)},
                       {"Http", Into(&ReadHttp, configuration.http)},
                       {"Page", Into(&ReadPage, configuration)},
                       {"Users", Into(&ReadUsers, configuration)},
                       {"Audit", Into(&ReadAudit, configuration.audit)},
                       {"Sessions", Into(&ReadSessions, configuration.sessions)},
                       {"Requests", Into(&ReadRequests, configuration.waitingLimits)},
                       {"Services", Into(&ReadServices, configuration.serviceEndpoints)},
                       {"Components", Into(&System::Acf::ReadComponentConfigurations, configuration.components)},
                       {"Modules", Into(&ReadModules, configuration.modules)}});
    if (configuration.usersDatabasePath.empty())
    {
        root.Report("the element 'Users' is missing");
    }
    AuditConfiguration& audit = configuration.audit;
    if (audit.databasePath.empty())
    {
        audit.databasePath = std::filesystem::path(configuration.usersDatabasePath).replace_filename("audit.sqlite");
    }
    audit.position = audit.position.empty() ? configuration.usersPosition : audit.position;
}

} // namespace

HostConfiguration LoadHostConfiguration(const BasicString& path)
{
    HostConfiguration configuration;
    XmlElementReader::ReadFile(path, "WbmHostDocument",
                               [&configuration](XmlElementReader& root) { ReadDocument(root, configuration); });
    return configuration;
}

} // namespace Oxa::Host::Configuration
