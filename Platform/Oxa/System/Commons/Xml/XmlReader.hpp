#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <concepts>
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace Oxa::System::Commons::Xml
{

/// Reads one XML document from front to back, forwards only. Document type declarations are refused, so there are no
/// entities but the predefined ones, and nothing is ever fetched.
/// Threads: one at a time. When the text is not well-formed, everything before that position can be read; the function
/// that would have to go beyond it throws XmlException, with file and line.
class OXA_EXPORT XmlReader final
{
public:
    /// Larger documents are refused.
    static constexpr std::size_t maximumBytes = std::size_t{1024} * 1024;

    /// Stands on the document element. Throws XmlException when the file cannot be read or is too large.
    explicit XmlReader(const BasicString& fileName);

    /// The same for a text in memory; `fileName` is for messages only.
    XmlReader(const BasicString& text, BasicString fileName);

    XmlReader(const XmlReader&) = delete;
    XmlReader& operator=(const XmlReader&) = delete;
    ~XmlReader();

    /// Whether the current element is written as <a/>.
    [[nodiscard]] bool IsEmptyElement() const;

    /// Moves on to the next start tag inside the document element, over text, comments and end tags; with a name, also
    /// over elements of another name. False when the document element ends.
    bool TryReadStartElement(std::string_view name = {});

    /// On an element: leaves it with all it holds.
    void ReadEndElement();

    /// Without its prefix. At the end of the document, the document element is the current element.
    [[nodiscard]] BasicString GetElementLocalName() const;

    /// As it is written, with its prefix.
    [[nodiscard]] BasicString GetElementName() const;

    /// Throws XmlException when the current element is not the document element of that local name.
    void RequireDocumentElement(std::string_view localName) const;

    /// How many elements the current one lies in: 0 for the document element.
    [[nodiscard]] int GetDepth() const;

    /// `attributeName`: as it is written. False, and `value` is unchanged, when the current element has no such
    /// attribute. Other types than text are read by XmlElementReader.
    template <std::same_as<BasicString> T>
    bool TryGetAttributeValue(std::string_view attributeName, T& value) const
    {
        return TryGetAttributeText(attributeName, value);
    }

    /// The names of the current element's attributes as they are written, with their prefixes: first the declarations
    /// of namespaces, then all others, in the order in which they are written.
    [[nodiscard]] std::vector<BasicString> GetAttributeNames() const;

    /// The beginning of the first text, other than blanks, that the last call of `TryReadStartElement` passed over, and
    /// its line; empty and 0 without one. Valid as long as the reader.
    [[nodiscard]] std::string_view GetSkippedText() const noexcept;
    [[nodiscard]] int GetSkippedTextLine() const noexcept;

    /// Throws when the document is not well-formed, also behind the document element.
    void ReadToEnd();

    /// Where the start tag of the current element begins. First line 1.
    [[nodiscard]] int GetLineNumber() const;
    [[nodiscard]] const BasicString& GetFileName() const noexcept;

private:
    struct Implementation;

    bool TryGetAttributeText(std::string_view attributeName, BasicString& text) const;

    std::unique_ptr<Implementation> implementation;
};

} // namespace Oxa::System::Commons::Xml
