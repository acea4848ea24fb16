#include "Oxa/System/Commons/Diagnostics/Logging/LogConfiguration.hpp"

namespace Oxa::System::Commons::Diagnostics::Logging
{

using Xml::XmlElementReader;

namespace
{

LogLevel ReadLogLevel(const XmlElementReader& element, LogLevel fallback)
{
    BasicString text;
    element.Read("level", text);
    if (text.empty())
    {
        return fallback;
    }
    const auto level = ParseLogLevel(text);
    if (!level)
    {
        element.ThrowBadValue("level", text, "error, warning, notice, information, debug or a digit from 0 to 7");
    }
    return *level;
}

LogConfiguration::Target ReadLogTarget(const XmlElementReader& element)
{
    BasicString text = "console";
    element.Read("target", text);
    if (text == "console")
    {
        return LogConfiguration::Target::Console;
    }
    if (text == "syslog")
    {
        return LogConfiguration::Target::Syslog;
    }
    if (text != "file")
    {
        element.ThrowBadValue("target", text, "console, syslog or file");
    }
    return LogConfiguration::Target::File;
}

void ReadLog(const XmlElementReader& element, LogConfiguration& configuration)
{
    element.RequireOnly({"level", "target", "file"});
    configuration.level = ReadLogLevel(element, configuration.level);
    configuration.target = ReadLogTarget(element);
    if (configuration.target == LogConfiguration::Target::File)
    {
        element.ReadRequired("file", configuration.filePath);
        configuration.position = element.GetPosition();
    }
}

void ReadPrefixLevel(const XmlElementReader& element, LogConfiguration& configuration)
{
    element.RequireOnly({"prefix", "level"});
    BasicString prefix;
    element.ReadRequired("prefix", prefix);
    configuration.levelsByPrefix[prefix] = ReadLogLevel(element, configuration.level);
}

} // namespace

void AddLogRules(Xml::XmlElementRules& rules, LogConfiguration& configuration)
{
    rules.Add("Log", [&configuration](const XmlElementReader& element) { ReadLog(element, configuration); });
    rules.Add("Log/Level",
              [&configuration](const XmlElementReader& element) { ReadPrefixLevel(element, configuration); });
}

} // namespace Oxa::System::Commons::Diagnostics::Logging
