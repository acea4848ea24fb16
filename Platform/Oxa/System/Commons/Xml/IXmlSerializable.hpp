#pragma once

#include "Oxa/System/Commons/Export.hpp"

namespace Oxa::System::Commons::Xml
{

class XmlReader;
class XmlSerializationContext;
class XmlWriter;

/// Something that can be read from an XML document and, where it makes sense, written to one.
class OXA_EXPORT IXmlSerializable
{
public:
    virtual ~IXmlSerializable();

    /// The reader stands on the start tag of the element that holds the object.
    virtual void ReadXml(XmlReader& reader, XmlSerializationContext& context) = 0;

    /// The writer has the element open that is to hold the object.
    virtual void WriteXml(XmlWriter& writer, XmlSerializationContext& context) = 0;
};

} // namespace Oxa::System::Commons::Xml
