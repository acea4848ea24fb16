#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/Xml/XmlReader.hpp"
#include "Oxa/System/Commons/Xml/XmlSerializationContext.hpp"

#include <chrono>
#include <initializer_list>
#include <optional>
#include <string_view>

namespace Oxa::System::Commons::Xml
{

/// Reads the attributes of the element that the reader stands on, strictly: whatever is not expected is an XmlException
/// with file and line; names are compared as they are written, with their prefixes. Borrows reader and context; valid
/// until the reader moves on.
class OXA_EXPORT XmlElementReader final
{
public:
    XmlElementReader(XmlReader& reader, XmlSerializationContext& context);

    /// Throws when the element has an attribute that is none of these.
    void RequireOnly(std::initializer_list<std::string_view> attributeNames) const;

    /// Throws when a text, blanks do not count, lies between the last two start tags that the reader has stood on, or
    /// between the last one and the end of the document element when the reader is there. Its line is that of the text.
    void RequireNoSkippedText() const;

    /// The text with its placeholders resolved; `value` stays when there is no such attribute. Throws for a placeholder
    /// that is not known.
    void Read(std::string_view attributeName, BasicString& value) const;
    /// The same for an attribute that must be there and not be empty.
    void ReadRequired(std::string_view attributeName, BasicString& value) const;
    /// The same for what the text then stands for: "true" or "false", or a whole number within bounds; seconds from 1.
    void Read(std::string_view attributeName, bool& value) const;
    void Read(std::string_view attributeName, std::size_t& value, std::size_t minimum, std::size_t maximum) const;
    void Read(std::string_view attributeName, std::chrono::seconds& value, std::chrono::seconds maximum) const;
    void Read(std::string_view attributeName, std::chrono::milliseconds& value, std::chrono::milliseconds minimum,
              std::chrono::milliseconds maximum) const;

    /// "FILE:LINE" of the element.
    [[nodiscard]] BasicString GetPosition() const;

    [[noreturn]] void ThrowBadValue(std::string_view attributeName, std::string_view value,
                                    std::string_view expected) const;
    [[noreturn]] void ThrowUnknownElement() const;
    [[noreturn]] void ThrowRepeatedElement() const;

private:
    /// With its placeholders resolved; none when there is no such attribute.
    [[nodiscard]] std::optional<BasicString> FindText(std::string_view attributeName) const;

    XmlReader& reader;
    XmlSerializationContext& context;
};

} // namespace Oxa::System::Commons::Xml
