#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <string_view>

namespace Oxa::System::Commons::Xml
{

/// Writes one indented XML document in UTF-8 from front to back. Characters that XML does not allow, and bytes that are
/// not UTF-8, become U+FFFD: every text can be written, and the document can be read again.
/// Threads: one at a time. Throws InvalidOperationException when an element is closed that is not open.
class OXA_EXPORT XmlWriter final
{
public:
    XmlWriter();
    XmlWriter(const XmlWriter&) = delete;
    XmlWriter& operator=(const XmlWriter&) = delete;
    ~XmlWriter();

    void WriteStartElement(std::string_view name);
    /// Requires: nothing has been written into the element yet.
    void WriteAttribute(std::string_view name, std::string_view value);
    void WriteText(std::string_view text);
    /// Hyphens in a row are written with blanks between them, a last hyphen with one behind it.
    void WriteComment(std::string_view text);
    void WriteEndElement();

    /// The document so far; complete when every element is closed.
    [[nodiscard]] BasicString GetText() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation;
};

} // namespace Oxa::System::Commons::Xml
