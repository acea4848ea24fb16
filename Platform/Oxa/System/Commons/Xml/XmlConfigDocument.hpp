#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Commons::Xml
{

class IXmlSerializable;

/// One configuration file and the object that it fills.
/// Threads: one at a time. Placeholders resolve from the process's application domain, when there is one.
class OXA_EXPORT XmlConfigDocument
{
public:
    /// `root` is borrowed.
    XmlConfigDocument(BasicString documentElementName, IXmlSerializable& root);
    XmlConfigDocument(const XmlConfigDocument&) = delete;
    XmlConfigDocument& operator=(const XmlConfigDocument&) = delete;
    virtual ~XmlConfigDocument();

    /// Throws XmlException, naming file, line and cause, when the file cannot be read, is not well-formed or has
    /// another document element. What `root` throws passes through with its text unchanged; an XmlException without a
    /// position of its own gets the position that was being read.
    virtual void Load(const BasicString& path);

private:
    BasicString documentElementName;
    IXmlSerializable& root;
};

} // namespace Oxa::System::Commons::Xml
