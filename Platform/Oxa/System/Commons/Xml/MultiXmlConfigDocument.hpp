#pragma once

#include "Oxa/System/Commons/Xml/XmlConfigDocument.hpp"

#include <vector>

namespace Oxa::System::Commons::Xml
{

/// A configuration that may be spread over the files of a folder, so that a site can drop in overrides.
class OXA_EXPORT MultiXmlConfigDocument final : public XmlConfigDocument
{
public:
    using XmlConfigDocument::XmlConfigDocument;
    ~MultiXmlConfigDocument() override;

    /// The files that belong to a path. A file: that one. A folder: every *.xml in it in name order, but hidden ones,
    /// whose names begin with '.'. Throws XmlException when a folder cannot be read or holds no such file.
    [[nodiscard]] static std::vector<BasicString> ListFiles(const BasicString& path);

    /// Reads each of these files into the same object. Throws as `XmlConfigDocument::Load` and `ListFiles` do.
    void Load(const BasicString& path) override;
};

} // namespace Oxa::System::Commons::Xml
