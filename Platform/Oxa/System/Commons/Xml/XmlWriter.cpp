#include "Oxa/System/Commons/Xml/XmlWriter.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <libxml/xmlwriter.h>

#include <new>

namespace Oxa::System::Commons::Xml
{

namespace
{

/// NUL-terminated valid UTF-8, as libxml2 wants it.
class XmlText final
{
public:
    explicit XmlText(std::string_view text) : text(Text::ReplaceInvalidUtf8(text)) {}

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
    Implementation::Check(xmlTextWriterWriteComment(implementation->writer, XmlText(text).Get()), "a comment");
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
