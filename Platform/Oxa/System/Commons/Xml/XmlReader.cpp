#include "Oxa/System/Commons/Xml/XmlReader.hpp"

#include "Oxa/System/Commons/Xml/IXmlSerializable.hpp"
#include "Oxa/System/Commons/Xml/Internal/LimitedFile.hpp"

#include <libxml/xmlreader.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Oxa::System::Commons::Xml
{

IXmlSerializable::~IXmlSerializable() = default;

namespace
{

struct FreeTextReader
{
    void operator()(xmlTextReader* reader) const noexcept
    {
        xmlFreeTextReader(reader);
    }
};

struct FreeXmlText
{
    void operator()(xmlChar* text) const noexcept
    {
        xmlFree(text);
    }
};

std::string_view ToView(const xmlChar* text) noexcept
{
    return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
}

} // namespace

struct XmlReader::Implementation
{
    Implementation(BasicString documentText, BasicString documentName)
        : text(std::move(documentText)), fileName(std::move(documentName))
    {
        reader.reset(
            xmlReaderForMemory(text.data(), static_cast<int>(text.size()), fileName.c_str(), nullptr,
                               XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_NOCDATA | XML_PARSE_BIG_LINES));
        if (!reader)
        {
            throw std::bad_alloc();
        }
        xmlTextReaderSetStructuredErrorHandler(reader.get(), &KeepFirstError, this);
    }

    static void KeepFirstError(void* self, xmlErrorPtr error) noexcept
    {
        auto& implementation = *static_cast<Implementation*>(self);
        if (implementation.errorLine != 0 || error->level < XML_ERR_ERROR)
        {
            return;
        }
        implementation.errorLine = error->line > 0 ? error->line : 1;
        implementation.errorText = error->message != nullptr ? error->message : "not well-formed";
        BasicString& text = implementation.errorText;
        text.erase(text.find_last_not_of('\n') + 1);
        std::replace(text.begin(), text.end(), '\n', ' ');
    }

    /// False at the end of the document.
    bool Read()
    {
        const int result = xmlTextReaderRead(reader.get());
        if (result < 0 || errorLine != 0)
        {
            throw XmlException::CreateAt(fileName, errorLine != 0 ? errorLine : 1,
                                         errorLine != 0 ? errorText : "not well-formed XML");
        }
        if (result == 1 && GetNodeType() == XML_READER_TYPE_DOCUMENT_TYPE)
        {
            throw XmlException::CreateAt(fileName, GetDocumentTypeLine(), "document type declarations are not allowed");
        }
        return result == 1;
    }

    /// The parser itself is behind the declaration already.
    [[nodiscard]] int GetDocumentTypeLine() const
    {
        const auto start = text.begin() + static_cast<std::ptrdiff_t>(std::min(text.find("<!DOCTYPE"), text.size()));
        return static_cast<int>(1 + std::count(text.begin(), start, '\n'));
    }

    void ReadDocumentElement()
    {
        while (Read())
        {
            if (GetNodeType() == XML_READER_TYPE_ELEMENT)
            {
                return;
            }
        }
        throw XmlException::CreateAt(fileName, 1, "the document has no element");
    }

    [[nodiscard]] int GetNodeType() const
    {
        return xmlTextReaderNodeType(reader.get());
    }

    [[nodiscard]] int GetDepth() const
    {
        return xmlTextReaderDepth(reader.get());
    }

    // The reader borrows the text.
    BasicString text;
    BasicString fileName;
    std::unique_ptr<xmlTextReader, FreeTextReader> reader;
    int errorLine = 0;
    BasicString errorText;
};

XmlReader::XmlReader(const BasicString& fileName)
    : XmlReader(Internal::ReadLimitedFile(fileName, maximumBytes), fileName)
{
}

XmlReader::XmlReader(BasicString text, BasicString fileName)
{
    if (text.size() > maximumBytes)
    {
        throw XmlException::Create("cannot read '{0}': it has {1} bytes, {2} are allowed", fileName, text.size(),
                                   maximumBytes);
    }
    implementation = std::make_unique<Implementation>(std::move(text), std::move(fileName));
    implementation->ReadDocumentElement();
}

XmlReader::~XmlReader() = default;

bool XmlReader::IsEmptyElement() const
{
    return xmlTextReaderIsEmptyElement(implementation->reader.get()) == 1;
}

bool XmlReader::TryReadStartElement(std::string_view name)
{
    while (implementation->Read())
    {
        if (implementation->GetDepth() == 0)
        {
            return false;
        }
        if (implementation->GetNodeType() == XML_READER_TYPE_ELEMENT &&
            (name.empty() || name == ToView(xmlTextReaderConstLocalName(implementation->reader.get()))))
        {
            return true;
        }
    }
    return false;
}

void XmlReader::ReadEndElement()
{
    if (implementation->GetNodeType() != XML_READER_TYPE_ELEMENT || IsEmptyElement())
    {
        return;
    }
    const int depth = implementation->GetDepth();
    while (implementation->Read())
    {
        if (implementation->GetDepth() == depth && implementation->GetNodeType() == XML_READER_TYPE_END_ELEMENT)
        {
            return;
        }
    }
}

BasicString XmlReader::GetElementLocalName() const
{
    return BasicString(ToView(xmlTextReaderConstLocalName(implementation->reader.get())));
}

int XmlReader::GetDepth() const
{
    return implementation->GetDepth();
}

bool XmlReader::TryGetAttributeText(std::string_view attributeName, BasicString& text) const
{
    const BasicString name(attributeName);
    const std::unique_ptr<xmlChar, FreeXmlText> value(
        xmlTextReaderGetAttribute(implementation->reader.get(), reinterpret_cast<const xmlChar*>(name.c_str())));
    if (!value)
    {
        return false;
    }
    text = ToView(value.get());
    return true;
}

std::vector<BasicString> XmlReader::GetAttributeNames() const
{
    std::vector<BasicString> names;
    xmlTextReader* const reader = implementation->reader.get();
    for (int found = xmlTextReaderMoveToFirstAttribute(reader); found == 1;
         found = xmlTextReaderMoveToNextAttribute(reader))
    {
        names.emplace_back(ToView(xmlTextReaderConstLocalName(reader)));
    }
    xmlTextReaderMoveToElement(reader);
    return names;
}

void XmlReader::ThrowBadAttribute(std::string_view attributeName, const BasicString& text,
                                  std::string_view expected) const
{
    throw XmlException::Create(*this, "the attribute '{0}' of the element '{1}' is '{2}', expected {3}", attributeName,
                               GetElementLocalName(), text, expected);
}

void XmlReader::ReadToEnd()
{
    while (implementation->Read())
    {
    }
}

int XmlReader::GetLineNumber() const
{
    const xmlNode* const node = xmlTextReaderCurrentNode(implementation->reader.get());
    const long line = node != nullptr ? xmlGetLineNo(node) : 0;
    return line > 0 ? static_cast<int>(line) : xmlTextReaderGetParserLineNumber(implementation->reader.get());
}

const BasicString& XmlReader::GetFileName() const noexcept
{
    return implementation->fileName;
}

} // namespace Oxa::System::Commons::Xml
