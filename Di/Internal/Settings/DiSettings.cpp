#include "Di/Internal/Settings/DiSettings.hpp"

#include "Oxa/System/Commons/Xml/XmlReader.hpp"
#include "Oxa/System/Commons/Xml/XmlSerializationContext.hpp"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Settings
{

using System::Commons::XmlException;
using System::Commons::Xml::XmlReader;
using System::Commons::Xml::XmlSerializationContext;
using System::Commons::Xml::XmlWriter;

namespace
{

const BasicString documentElementName = "DiWbmModuleSettingsDocument";
const BasicString settingsElementName = "DiWbmModuleSettings";
const BasicString supportedLanguagesAttribute = "supportedLanguages";
const BasicString splcSupportedAttribute = "splcSupported";

BasicString ReadMandatoryAttribute(const XmlReader& reader, const BasicString& attributeName)
{
    BasicString value;
    if (!reader.TryGetAttributeValue<BasicString>(attributeName, value))
    {
        throw XmlException::Create("GetAttributeValue failed for mandatory attribute: {0} elementName: {1}",
                                   attributeName, reader.GetElementLocalName());
    }
    return value;
}

} // namespace

BasicString DiSettings::GetDocumentElementName()
{
    return documentElementName;
}

void DiSettings::ReadXml(XmlReader& reader, XmlSerializationContext& context)
{
    if (reader.IsEmptyElement())
    {
        return;
    }
    bool found = false;
    while (reader.TryReadStartElement())
    {
        if (reader.GetElementLocalName() != settingsElementName)
        {
            reader.ReadEndElement();
            continue;
        }
        ReadSettingsElement(reader, context);
        found = true;
    }
    if (!found)
    {
        throw XmlException::Create(reader, "Missing XML element '{0}'", settingsElementName);
    }
}

void DiSettings::WriteXml(XmlWriter& /*writer*/, XmlSerializationContext& /*context*/) {}

void DiSettings::ReadSettingsElement(const XmlReader& reader, const XmlSerializationContext& context)
{
    const BasicString languages = ReadMandatoryAttribute(reader, supportedLanguagesAttribute);
    boost::algorithm::split(supportedLanguages, languages, boost::algorithm::is_any_of(","),
                            boost::algorithm::token_compress_off);

    const BasicString flag = ReadMandatoryAttribute(reader, splcSupportedAttribute);
    splcSupported = context.GetPlaceholderExpression().Resolve(flag) == "true";
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Settings
