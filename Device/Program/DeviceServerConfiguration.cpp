#include "Device/Program/DeviceServerConfiguration.hpp"

#include "Oxa/System/Acf/ComponentConfiguration.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogConfiguration.hpp"
#include "Oxa/System/Commons/NotSupportedException.hpp"
#include "Oxa/System/Commons/Xml/IXmlSerializable.hpp"
#include "Oxa/System/Commons/Xml/XmlConfigDocument.hpp"
#include "Oxa/System/Commons/Xml/XmlElementRules.hpp"

namespace Oxa::Device::Linux::Program
{

using System::Commons::NotSupportedException;
using System::Commons::Xml::XmlElementReader;
using System::Commons::Xml::XmlElementRules;
using System::Commons::Xml::XmlReader;
using System::Commons::Xml::XmlSerializationContext;
using System::Rsc::RscServerConfiguration;

namespace
{

void ReadServer(const XmlElementReader& element, RscServerConfiguration& server)
{
    element.RequireOnly({"socket", "maximumConnections"});
    element.Read("socket", server.socketPath);
    element.Read("maximumConnections", server.maximumConnections, 1, 64);
}

void ReadUser(const XmlElementReader& element, RscServerConfiguration& server)
{
    element.RequireOnly({"name", "commands"});
    System::Rsc::RscServerUser user;
    element.ReadRequired("name", user.name);
    element.Read("commands", user.mayCommand);
    server.users.push_back(user);
}

/// Fills a configuration from the document element's children.
class ConfigurationDocument final : public System::Commons::Xml::IXmlSerializable
{
public:
    explicit ConfigurationDocument(DeviceServerConfiguration& configuration)
    {
        RscServerConfiguration& server = configuration.server;
        AddLogRules(rules, configuration.log);
        AddComponentRules(rules, configuration.components);
        rules.Add("Server", [&server](const XmlElementReader& element) { ReadServer(element, server); });
        rules.Add("Server/User", [&server](const XmlElementReader& element) { ReadUser(element, server); });
    }

    void ReadXml(XmlReader& reader, XmlSerializationContext& context) override
    {
        rules.Read(reader, context);
    }

    void WriteXml(System::Commons::Xml::XmlWriter& /*writer*/, XmlSerializationContext& /*context*/) override
    {
        throw NotSupportedException::Create("The configuration of the device services is only read");
    }

private:
    XmlElementRules rules;
};

} // namespace

DeviceServerConfiguration LoadDeviceServerConfiguration(const BasicString& path)
{
    DeviceServerConfiguration configuration;
    ConfigurationDocument root(configuration);
    System::Commons::Xml::XmlConfigDocument("DeviceServerDocument", root).Load(path);
    return configuration;
}

} // namespace Oxa::Device::Linux::Program
