#pragma once

#include "Device/Description/DescriptionProblems.hpp"
#include "Device/Description/DeviceDescription.hpp"
#include "Oxa/System/Commons/Xml/IXmlSerializable.hpp"

#include <cstddef>

namespace Oxa::Device::Linux::Description
{

/// Reads documents into a description, one after the other; the same way whether the description is to be used or to
/// be checked. Borrows both. Threads: one at a time.
class DescriptionDocument final : public System::Commons::Xml::IXmlSerializable
{
public:
    static constexpr const char* elementName = "DeviceDescriptionDocument";
    static constexpr std::size_t maximumItemCount = 4096;
    static constexpr std::size_t maximumKeyBytes = 511;
    /// How deep elements "first" can lie in one another.
    static constexpr int maximumNesting = 8;

    DescriptionDocument(DescriptionContent& content, DescriptionProblems& problems);
    ~DescriptionDocument() override;

    void ReadXml(System::Commons::Xml::XmlReader& reader,
                 System::Commons::Xml::XmlSerializationContext& context) override;

    /// Throws NotSupportedException.
    void WriteXml(System::Commons::Xml::XmlWriter& writer,
                  System::Commons::Xml::XmlSerializationContext& context) override;

private:
    DescriptionContent& content;
    DescriptionProblems& problems;
};

} // namespace Oxa::Device::Linux::Description
