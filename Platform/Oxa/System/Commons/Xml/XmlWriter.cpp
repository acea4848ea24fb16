#include "Oxa/System/Commons/Xml/XmlWriter.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <boost/algorithm/string/replace.hpp>
#include <libxml/xmlwriter.h>

#include <cstddef>
#include <memory>
#include <new>

namespace Oxa::System::Commons::Xml
{

namespace
{

/// Replaces what XML cannot express, not even escaped: bytes that are not UTF-8, most control characters, U+FFFE and
/// U+FFFF.
BasicString ReplaceForbidden(std::string_view text)
{
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    BasicString result;
    for (const char character : Text::ReplaceInvalidUtf8(text))
    {
        const bool isForbidden =
            static_cast<unsigned char>(character) < 0x20 && character != '\t' && character != '\n' && character != '\r';
        result.append(isForbidden ? replacement : std::string_view(&character, 1));
    }
    boost::algorithm::replace_all(result, "\xEF\xBF\xBE", replacement);
    boost::algorithm::replace_all(result, "\xEF\xBF\xBF", replacement);
    return result;
}

/// A comment can neither hold two hyphens in a row nor end with one: a blank follows each of those.
BasicString SeparateHyphens(std::string_view text)
{
    BasicString result(text);
    for (std::size_t at = result.find("--"); at != BasicString::npos; at = result.find("--", at))
    {
        result.insert(at + 1, 1, ' ');
    }
    return result.ends_with('-') ? result + ' ' : result;
}

const xmlChar* ToXml(const BasicString& text) noexcept
{
    return reinterpret_cast<const xmlChar*>(text.c_str());
}

} // namespace

struct XmlWriter::Implementation
{
    Implementation()
    {
        if (!writer)
        {
            throw std::bad_alloc();
        }
        xmlTextWriterSetIndent(writer.get(), 1);
        xmlTextWriterStartDocument(writer.get(), nullptr, "UTF-8", nullptr);
    }

    static void Check(int result, const char* operation)
    {
        if (result < 0)
        {
            throw InvalidOperationException::Create("the XML writer cannot write {0} here", operation);
        }
    }

    const std::unique_ptr<xmlBuffer, decltype(&xmlBufferFree)> buffer{xmlBufferCreate(), &xmlBufferFree};
    const std::unique_ptr<xmlTextWriter, decltype(&xmlFreeTextWriter)> writer{xmlNewTextWriterMemory(buffer.get(), 0),
                                                                              &xmlFreeTextWriter};
};

XmlWriter::XmlWriter() : implementation(std::make_unique<Implementation>()) {}

XmlWriter::~XmlWriter() = default;

void XmlWriter::WriteStartElement(std::string_view name)
{
    Implementation::Check(xmlTextWriterStartElement(implementation->writer.get(), ToXml(ReplaceForbidden(name))),
                          "a start tag");
}

void XmlWriter::WriteAttribute(std::string_view name, std::string_view value)
{
    Implementation::Check(xmlTextWriterWriteAttribute(implementation->writer.get(), ToXml(ReplaceForbidden(name)),
                                                      ToXml(ReplaceForbidden(value))),
                          "an attribute");
}

void XmlWriter::WriteText(std::string_view text)
{
    Implementation::Check(xmlTextWriterWriteString(implementation->writer.get(), ToXml(ReplaceForbidden(text))),
                          "a text");
}

void XmlWriter::WriteComment(std::string_view text)
{
    Implementation::Check(
        xmlTextWriterWriteComment(implementation->writer.get(), ToXml(ReplaceForbidden(SeparateHyphens(text)))),
        "a comment");
}

void XmlWriter::WriteEndElement()
{
    Implementation::Check(xmlTextWriterEndElement(implementation->writer.get()), "an end tag");
}

BasicString XmlWriter::GetText() const
{
    xmlTextWriterFlush(implementation->writer.get());
    return reinterpret_cast<const char*>(xmlBufferContent(implementation->buffer.get()));
}

} // namespace Oxa::System::Commons::Xml
