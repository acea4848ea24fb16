#include "Oxa/System/Commons/Xml/XmlConfigDocument.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Xml/IXmlSerializable.hpp"
#include "Oxa/System/Commons/Xml/XmlReader.hpp"
#include "Oxa/System/Commons/Xml/XmlSerializationContext.hpp"

#include <utility>

namespace Oxa::System::Commons::Xml
{

XmlConfigDocument::XmlConfigDocument(BasicString documentElementName, IXmlSerializable& root)
    : documentElementName(std::move(documentElementName)), root(root)
{
}

XmlConfigDocument::~XmlConfigDocument() = default;

void XmlConfigDocument::Load(const BasicString& path)
{
    XmlReader reader(path);
    reader.RequireDocumentElement(documentElementName);
    XmlSerializationContext context(Singleton<AppDomain>::TryGetInstance());
    try
    {
        root.ReadXml(reader, context);
    }
    catch (XmlException& exception)
    {
        exception.AddReadingPosition(reader);
        throw;
    }
    reader.ReadToEnd();
}

} // namespace Oxa::System::Commons::Xml
