#include "Oxa/System/Commons/Diagnostics/Logging/LogConfiguration.hpp"

#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"

namespace Oxa::System::Commons::Diagnostics::Logging
{

using Xml::XmlElementReader;

namespace
{

void ReadLevel(XmlElementReader& element, LogLevel& level)
{
    BasicString text;
    if (!element.Read("level", text) || text.empty())
    {
        return;
    }
    const auto parsed = ParseLogLevel(text);
    if (!parsed)
    {
        element.ReportBadValue("level", text, "error, warning, notice, information, debug or a digit from 0 to 7");
    }
    level = parsed.value_or(level);
}

} // namespace

void ReadLogConfiguration(XmlElementReader& element, LogConfiguration& configuration)
{
    using Target = LogConfiguration::Target;
    ReadLevel(element, configuration.level);
    element.ReadChoice("target", {{"console", Target::Console}, {"syslog", Target::Syslog}, {"file", Target::File}},
                       configuration.target);
    if (configuration.target == Target::File)
    {
        element.ReadRequired("file", configuration.filePath);
        configuration.position = element.GetPosition();
    }
    else
    {
        element.Ignore({"file"});
    }
    const auto readPrefix = [&configuration](XmlElementReader& child)
    {
        BasicString prefix;
        child.ReadRequired("prefix", prefix);
        auto& level = configuration.levelsByPrefix[prefix];
        level = configuration.level;
        ReadLevel(child, level);
    };
    element.ReadList("Level", readPrefix);
}

} // namespace Oxa::System::Commons::Diagnostics::Logging
