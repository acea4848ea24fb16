#pragma once

#include "Oxa/System/Commons/Xml/XmlConfigDocument.hpp"

namespace Oxa::System::Commons::Xml
{

/// A configuration that may be spread over the files of a folder, so that a site can drop in overrides.
class OXA_EXPORT MultiXmlConfigDocument final : public XmlConfigDocument
{
public:
    using XmlConfigDocument::XmlConfigDocument;
    ~MultiXmlConfigDocument() override;

    /// A file: that one. A folder: every *.xml in it in name order, each read into the same object. Throws as
    /// `XmlConfigDocument::Load` does, also when a folder holds no such file.
    void Load(const BasicString& path) override;
};

} // namespace Oxa::System::Commons::Xml
