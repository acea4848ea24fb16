#include "Host/Configuration/HostConfiguration.hpp"

#include "Oxa/System/Acf/ComponentConfiguration.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogConfiguration.hpp"
#include "Oxa/System/Commons/NotSupportedException.hpp"
#include "Oxa/System/Commons/Xml/IXmlSerializable.hpp"
#include "Oxa/System/Commons/Xml/XmlConfigDocument.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"
#include "Oxa/System/Commons/Xml/XmlElementRules.hpp"
#include "Oxa/System/Commons/Xml/XmlReader.hpp"

#include <boost/asio/ip/address.hpp>

#include <algorithm>
#include <limits>

namespace Oxa::Host::Configuration
{

using System::Commons::NotSupportedException;
using System::Commons::XmlException;
using System::Commons::Xml::XmlElementReader;
using System::Commons::Xml::XmlReader;
using System::Commons::Xml::XmlSerializationContext;
using System::Rsc::RscEndpointConfiguration;

namespace
{

constexpr std::chrono::seconds longestTimeout{3600};
constexpr std::chrono::seconds longestSession{30 * 24 * 3600};
constexpr std::chrono::milliseconds shortestDeadline{10};
constexpr std::chrono::milliseconds longestDeadline{60'000};
/// What the address of a Unix socket has room for.
constexpr std::size_t longestSocketPath = 107;

void ReadSocket(const XmlElementReader& element, RscEndpointConfiguration& endpoint)
{
    element.ReadRequired("socket", endpoint.socketPath);
    if (endpoint.socketPath.empty() || endpoint.socketPath.front() != '/' ||
        endpoint.socketPath.size() > longestSocketPath)
    {
        element.ThrowBadValue("socket", endpoint.socketPath, "an absolute path of at most 107 bytes");
    }
}

/// Fills a configuration from the document element's children.
class ConfigurationDocument final : public System::Commons::Xml::IXmlSerializable
{
public:
    explicit ConfigurationDocument(HostConfiguration& configuration) : configuration(configuration)
    {
        AddLogRules(rules, configuration.log);
        AddComponentRules(rules, configuration.components);
        Add("Http", &ConfigurationDocument::ReadHttp);
        Add("Users", &ConfigurationDocument::ReadUsers);
        Add("Sessions", &ConfigurationDocument::ReadSessions);
        Add("Requests", &ConfigurationDocument::ReadRequests);
        Add("Services", &ConfigurationDocument::ReadList);
        Add("Services/Provider", &ConfigurationDocument::ReadServiceProvider);
        Add("Modules", &ConfigurationDocument::ReadList);
        Add("Modules/Module", &ConfigurationDocument::ReadModule);
        Add("Modules/Module/DataProvider", &ConfigurationDocument::ReadDataProvider);
    }

    void ReadXml(XmlReader& reader, XmlSerializationContext& context) override
    {
        rules.Read(reader, context);
        if (configuration.usersDatabasePath.empty())
        {
            throw XmlException::Create(reader, "the element 'Users' is missing");
        }
    }

    void WriteXml(System::Commons::Xml::XmlWriter& /*writer*/, XmlSerializationContext& /*context*/) override
    {
        throw NotSupportedException::Create("The host's configuration is only read");
    }

private:
    void Add(const BasicString& path, void (ConfigurationDocument::*read)(const XmlElementReader&))
    {
        rules.Add(path, [this, read](const XmlElementReader& element) { (this->*read)(element); });
    }

    void ReadHttp(const XmlElementReader& element)
    {
        element.RequireOnly({"address", "port", "maximumConnections", "idleSeconds", "headerSeconds", "bodySeconds",
                             "writeSeconds", "shutdownSeconds"});
        HttpConfiguration& http = configuration.http;
        http.position = element.GetPosition();
        element.Read("address", http.address);
        boost::system::error_code error;
        boost::asio::ip::make_address(http.address, error);
        if (error)
        {
            element.ThrowBadValue("address", http.address, "an IP address");
        }
        std::size_t port = http.port;
        element.Read("port", port, 0, std::numeric_limits<uint16>::max());
        http.port = static_cast<uint16>(port);
        element.Read("maximumConnections", http.maximumConnections, 1, 10000);
        element.Read("idleSeconds", http.idleTimeout, longestTimeout);
        element.Read("headerSeconds", http.headerTimeout, longestTimeout);
        element.Read("bodySeconds", http.bodyTimeout, longestTimeout);
        element.Read("writeSeconds", http.writeTimeout, longestTimeout);
        element.Read("shutdownSeconds", http.shutdownTimeout, longestTimeout);
    }

    void ReadUsers(const XmlElementReader& element)
    {
        element.RequireOnly({"database"});
        element.ReadRequired("database", configuration.usersDatabasePath);
        configuration.usersPosition = element.GetPosition();
    }

    void ReadSessions(const XmlElementReader& element)
    {
        element.RequireOnly({"idleSeconds", "lifetimeSeconds", "maximumPerUser", "maximumTotal"});
        SessionConfiguration& sessions = configuration.sessions;
        element.Read("idleSeconds", sessions.idleTimeout, longestSession);
        element.Read("lifetimeSeconds", sessions.lifetime, longestSession);
        element.Read("maximumPerUser", sessions.maximumPerUser, 1, 64);
        element.Read("maximumTotal", sessions.maximumTotal, 1, 4096);
    }

    void ReadRequests(const XmlElementReader& element)
    {
        element.RequireOnly({"maximumWaiting"});
        element.Read("maximumWaiting", configuration.maximumWaitingRequests, 0, 1000);
    }

    void ReadList(const XmlElementReader& element)
    {
        element.RequireOnly({});
    }

    void ReadServiceProvider(const XmlElementReader& element)
    {
        element.RequireOnly({"name", "socket", "readMilliseconds", "commandMilliseconds"});
        RscEndpointConfiguration endpoint;
        element.ReadRequired("name", endpoint.providerName);
        ReadSocket(element, endpoint);
        element.Read("readMilliseconds", endpoint.readTimeout, shortestDeadline, longestDeadline);
        element.Read("commandMilliseconds", endpoint.commandTimeout, shortestDeadline, longestDeadline);
        auto& endpoints = configuration.serviceEndpoints;
        if (std::any_of(endpoints.begin(), endpoints.end(),
                        [&endpoint](const auto& each) { return each.providerName == endpoint.providerName; }))
        {
            element.ThrowBadValue("name", endpoint.providerName, "a name that is not taken");
        }
        endpoints.push_back(std::move(endpoint));
    }

    void ReadModule(const XmlElementReader& element)
    {
        element.RequireOnly({"name", "library", "settings"});
        ModuleConfiguration module;
        element.ReadRequired("name", module.name);
        element.ReadRequired("library", module.libraryPath);
        element.Read("settings", module.settingsPath);
        module.position = element.GetPosition();
        RequireNewName(element, module.name, configuration.modules);
        configuration.modules.push_back(std::move(module));
    }

    void ReadDataProvider(const XmlElementReader& element)
    {
        element.RequireOnly({"name", "safe"});
        DataProviderConfiguration provider;
        element.ReadRequired("name", provider.name);
        element.Read("safe", provider.isSafe);
        for (const ModuleConfiguration& module : configuration.modules)
        {
            RequireNewName(element, provider.name, module.dataProviders);
        }
        configuration.modules.back().dataProviders.push_back(std::move(provider));
    }

    template <class Items>
    static void RequireNewName(const XmlElementReader& element, const BasicString& name, const Items& items)
    {
        if (std::any_of(items.begin(), items.end(), [&name](const auto& item) { return item.name == name; }))
        {
            element.ThrowBadValue("name", name, "a name that is not taken");
        }
    }

    HostConfiguration& configuration;
    System::Commons::Xml::XmlElementRules rules;
};

} // namespace

HostConfiguration LoadHostConfiguration(const BasicString& path)
{
    HostConfiguration configuration;
    ConfigurationDocument root(configuration);
    System::Commons::Xml::XmlConfigDocument("WbmHostDocument", root).Load(path);
    return configuration;
}

} // namespace Oxa::Host::Configuration
