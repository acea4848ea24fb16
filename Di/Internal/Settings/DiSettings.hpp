#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/Xml/IXmlSerializable.hpp"

#include <vector>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Settings
{

/// The settings of the module; only read, never written back.
/// Threads: written while the module is set up, read by request threads afterwards.
class DiSettings final : public System::Commons::Xml::IXmlSerializable
{
public:
    [[nodiscard]] static BasicString GetDocumentElementName();

    /// Throws XmlException when the document element holds no settings element or one lacks an attribute. Of several
    /// settings elements the last one counts; an empty document element changes nothing.
    void ReadXml(System::Commons::Xml::XmlReader& reader,
                 System::Commons::Xml::XmlSerializationContext& context) override;

    /// Does nothing.
    void WriteXml(System::Commons::Xml::XmlWriter& writer,
                  System::Commons::Xml::XmlSerializationContext& context) override;

    /// In the order of the document; as they stand there, not trimmed.
    std::vector<BasicString> supportedLanguages;

    /// Whether the device has a safety controller part.
    bool splcSupported = false;

private:
    void ReadSettingsElement(const System::Commons::Xml::XmlReader& reader,
                             const System::Commons::Xml::XmlSerializationContext& context);
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Settings
