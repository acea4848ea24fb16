#include "Oxa/System/Commons/Xml/XmlWriter.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <libxml/xmlwriter.h>

#include <cstddef>
#include <new>

namespace Oxa::System::Commons::Xml
{

namespace
{

constexpr std::string_view replacement = "\xEF\xBF\xBD";

/// How many bytes the first character has when it is one of those that XML has not got, not even escaped: most control
/// characters, U+FFFE and U+FFFF. Else 0. Requires: valid UTF-8, not empty.
std::size_t MeasureForbidden(std::string_view text) noexcept
{
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x20)
    {
        return first == '\t' || first == '\n' || first == '\r' ? 0 : 1;
    }
    return text.starts_with("\xEF\xBF\xBE") || text.starts_with("\xEF\xBF\xBF") ? 3 : 0;
}

BasicString ReplaceForbidden(std::string_view text)
{
    const BasicString valid = Text::ReplaceInvalidUtf8(text);
    BasicString result;
    for (std::string_view rest = valid; !rest.empty();)
    {
        const std::size_t forbidden = MeasureForbidden(rest);
        result += forbidden > 0 ? replacement : rest.substr(0, 1);
        rest.remove_prefix(forbidden > 0 ? forbidden : 1);
    }
    return result;
}

/// A comment can neither hold two hyphens in a row nor end with one: a blank follows each that would be one of those.
BasicString SeparateHyphens(std::string_view text)
{
    BasicString result;
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        result += text[at];
        if (text[at] == '-' && (at + 1 == text.size() || text[at + 1] == '-'))
        {
            result += ' ';
        }
    }
    return result;
}

/// NUL-terminated valid UTF-8 of characters that XML has, as libxml2 wants it.
class XmlText final
{
public:
    explicit XmlText(std::string_view text) : text(ReplaceForbidden(text)) {}

    [[nodiscard]] const xmlChar* Get() const noexcept
    {
        return reinterpret_cast<const xmlChar*>(text.c_str());
    }

private:
    BasicString text;
};

} // namespace

struct XmlWriter::Implementation
{
    Implementation()
        : buffer(xmlBufferCreate()), writer(buffer != nullptr ? xmlNewTextWriterMemory(buffer, 0) : nullptr)
    {
        if (writer == nullptr)
        {
            xmlBufferFree(buffer);
            throw std::bad_alloc();
        }
        xmlTextWriterSetIndent(writer, 1);
        xmlTextWriterStartDocument(writer, nullptr, "UTF-8", nullptr);
    }

    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    ~Implementation()
    {
        xmlFreeTextWriter(writer);
        xmlBufferFree(buffer);
    }

    static void Check(int result, const char* operation)
    {
        if (result < 0)
        {
            throw InvalidOperationException::Create("The XML writer cannot write {0} here", operation);
        }
    }

    xmlBufferPtr buffer;
    xmlTextWriterPtr writer;
};

XmlWriter::XmlWriter() : implementation(std::make_unique<Implementation>()) {}

XmlWriter::~XmlWriter() = default;

void XmlWriter::WriteStartElement(std::string_view name)
{
    Implementation::Check(xmlTextWriterStartElement(implementation->writer, XmlText(name).Get()), "a start tag");
}

void XmlWriter::WriteAttribute(std::string_view name, std::string_view value)
{
    Implementation::Check(
        xmlTextWriterWriteAttribute(implementation->writer, XmlText(name).Get(), XmlText(value).Get()), "an attribute");
}

void XmlWriter::WriteText(std::string_view text)
{
    Implementation::Check(xmlTextWriterWriteString(implementation->writer, XmlText(text).Get()), "a text");
}

void XmlWriter::WriteComment(std::string_view text)
{
    Implementation::Check(xmlTextWriterWriteComment(implementation->writer, XmlText(SeparateHyphens(text)).Get()),
                          "a comment");
}

void XmlWriter::WriteEndElement()
{
    Implementation::Check(xmlTextWriterEndElement(implementation->writer), "an end tag");
}

BasicString XmlWriter::GetText() const
{
    xmlTextWriterFlush(implementation->writer);
    return reinterpret_cast<const char*>(xmlBufferContent(implementation->buffer));
}

} // namespace Oxa::System::Commons::Xml
