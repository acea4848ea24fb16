#include "Oxa/System/Commons/Xml/XmlReader.hpp"

#include "Oxa/System/Commons/Xml/IXmlSerializable.hpp"
#include "Oxa/System/Commons/Xml/Internal/LimitedFile.hpp"
#include "Oxa/System/Commons/Xml/Internal/XmlNodes.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::System::Commons::Xml
{

using Internal::XmlNode;

IXmlSerializable::~IXmlSerializable() = default;

/// Stands on one node after the other; what the document holds before a place that is not well-formed can be read.
struct XmlReader::Implementation
{
    Implementation(std::string_view text, BasicString documentName)
        : fileName(std::move(documentName)), document(Internal::ParseXml(text, fileName))
    {
        if (document.nodes.empty())
        {
            throw XmlException(*document.fault);
        }
    }

    /// Null at the end of the document element.
    const XmlNode* TryMoveOn()
    {
        if (position + 1 < document.nodes.size())
        {
            return &document.nodes[++position];
        }
        if (!IsDocumentElementClosed())
        {
            throw XmlException(*document.fault);
        }
        return nullptr;
    }

    [[nodiscard]] bool IsDocumentElementClosed() const noexcept
    {
        return document.nodes.back().kind == XmlNode::Kind::EndTag && document.nodes.back().depth == 0;
    }

    [[nodiscard]] const XmlNode& GetElement() const noexcept
    {
        return document.nodes[element];
    }

    BasicString fileName;
    Internal::XmlNodes document;
    /// Indices of the present node and of the present element's start tag.
    std::size_t position = 0;
    std::size_t element = 0;
    /// The first text that the last move passed over; null: none.
    const XmlNode* skippedText = nullptr;
};

XmlReader::XmlReader(const BasicString& fileName)
    : XmlReader(Internal::ReadLimitedFile(fileName, maximumBytes), fileName)
{
}

XmlReader::XmlReader(const BasicString& text, BasicString fileName)
{
    if (text.size() > maximumBytes)
    {
        throw XmlException::Create("cannot read '{0}': it has {1} bytes, {2} are allowed", fileName, text.size(),
                                   maximumBytes);
    }
    implementation = std::make_unique<Implementation>(text, std::move(fileName));
}

XmlReader::~XmlReader() = default;

bool XmlReader::IsEmptyElement() const
{
    return implementation->GetElement().isEmptyElement;
}

bool XmlReader::TryReadStartElement(std::string_view name)
{
    implementation->skippedText = nullptr;
    while (const XmlNode* const node = implementation->TryMoveOn())
    {
        if (node->kind == XmlNode::Kind::Text && implementation->skippedText == nullptr)
        {
            implementation->skippedText = node;
        }
        if (node->kind == XmlNode::Kind::StartTag)
        {
            implementation->element = implementation->position;
            if (name.empty() || name == GetElementLocalName())
            {
                return true;
            }
        }
    }
    implementation->element = 0;
    return false;
}

void XmlReader::ReadEndElement()
{
    if (implementation->position != implementation->element)
    {
        return;
    }
    const int depth = GetDepth();
    while (const XmlNode* const node = implementation->TryMoveOn())
    {
        if (node->kind == XmlNode::Kind::EndTag && node->depth == depth)
        {
            return;
        }
    }
}

BasicString XmlReader::GetElementName() const
{
    return implementation->GetElement().text;
}

BasicString XmlReader::GetElementLocalName() const
{
    const BasicString& name = implementation->GetElement().text;
    return name.substr(name.find(':') + 1);
}

int XmlReader::GetDepth() const
{
    return implementation->GetElement().depth;
}

bool XmlReader::TryGetAttributeText(std::string_view attributeName, BasicString& text) const
{
    const auto& attributes = implementation->GetElement().attributes;
    const auto found =
        std::find_if(attributes.begin(), attributes.end(),
                     [attributeName](const auto& attribute) { return attribute.first == attributeName; });
    if (found == attributes.end())
    {
        return false;
    }
    text = found->second;
    return true;
}

std::vector<BasicString> XmlReader::GetAttributeNames() const
{
    std::vector<BasicString> names;
    for (const auto& [name, value] : implementation->GetElement().attributes)
    {
        names.push_back(name);
    }
    return names;
}

void XmlReader::ThrowBadAttribute(std::string_view attributeName, const BasicString& text,
                                  std::string_view expected) const
{
    throw XmlException::Create(*this, "the attribute '{0}' of the element '{1}' is '{2}', expected {3}", attributeName,
                               GetElementName(), text, expected);
}

std::string_view XmlReader::GetSkippedText() const noexcept
{
    const XmlNode* const node = implementation->skippedText;
    return node != nullptr ? std::string_view(node->text) : std::string_view();
}

int XmlReader::GetSkippedTextLine() const noexcept
{
    const XmlNode* const node = implementation->skippedText;
    return node != nullptr ? node->line : 0;
}

void XmlReader::ReadToEnd()
{
    if (implementation->document.fault)
    {
        throw XmlException(*implementation->document.fault);
    }
}

int XmlReader::GetLineNumber() const
{
    return implementation->GetElement().line;
}

const BasicString& XmlReader::GetFileName() const noexcept
{
    return implementation->fileName;
}

} // namespace Oxa::System::Commons::Xml
