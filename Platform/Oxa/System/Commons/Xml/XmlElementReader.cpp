#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>

namespace Oxa::System::Commons::Xml
{

XmlElementReader::XmlElementReader(XmlReader& reader, XmlSerializationContext& context)
    : reader(reader), context(context)
{
}

void XmlElementReader::RequireOnly(std::initializer_list<std::string_view> attributeNames) const
{
    for (const BasicString& name : reader.GetAttributeNames())
    {
        if (std::find(attributeNames.begin(), attributeNames.end(), name) == attributeNames.end())
        {
            throw XmlException::Create(reader, "the element '{0}' has no attribute '{1}'", reader.GetElementName(),
                                       name);
        }
    }
}

void XmlElementReader::RequireNoSkippedText() const
{
    if (reader.GetSkippedTextLine() > 0)
    {
        throw XmlException::CreateAt(
            reader.GetFileName(), reader.GetSkippedTextLine(),
            Text::Format("the text '{0}' does not belong here: values are attributes", reader.GetSkippedText()));
    }
}

void XmlElementReader::Read(std::string_view attributeName, BasicString& value) const
{
    if (auto text = FindText(attributeName))
    {
        value = std::move(*text);
    }
}

void XmlElementReader::ReadRequired(std::string_view attributeName, BasicString& value) const
{
    Read(attributeName, value);
    if (value.empty())
    {
        throw XmlException::Create(reader, "the element '{0}' needs the attribute '{1}'", reader.GetElementName(),
                                   attributeName);
    }
}

void XmlElementReader::Read(std::string_view attributeName, bool& value) const
{
    const auto text = FindText(attributeName);
    if (text && *text != "true" && *text != "false")
    {
        ThrowBadValue(attributeName, *text, "true or false");
    }
    value = text ? *text == "true" : value;
}

void XmlElementReader::Read(std::string_view attributeName, std::size_t& value, std::size_t minimum,
                            std::size_t maximum) const
{
    const auto text = FindText(attributeName);
    if (!text)
    {
        return;
    }
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    if (error != std::errc() || end != text->data() + text->size())
    {
        ThrowBadValue(attributeName, *text,
                      Text::Format("a whole number from {0} to {1} in decimal digits", minimum, maximum));
    }
    if (number < minimum || number > maximum)
    {
        ThrowBadValue(attributeName, *text, Text::Format("a number from {0} to {1}", minimum, maximum));
    }
    value = number;
}

void XmlElementReader::Read(std::string_view attributeName, std::chrono::seconds& value,
                            std::chrono::seconds maximum) const
{
    auto count = static_cast<std::size_t>(value.count());
    Read(attributeName, count, 1, static_cast<std::size_t>(maximum.count()));
    value = std::chrono::seconds(count);
}

void XmlElementReader::Read(std::string_view attributeName, std::chrono::milliseconds& value,
                            std::chrono::milliseconds minimum, std::chrono::milliseconds maximum) const
{
    auto count = static_cast<std::size_t>(value.count());
    Read(attributeName, count, static_cast<std::size_t>(minimum.count()), static_cast<std::size_t>(maximum.count()));
    value = std::chrono::milliseconds(count);
}

std::optional<BasicString> XmlElementReader::FindText(std::string_view attributeName) const
{
    BasicString text;
    if (!reader.TryGetAttributeValue(attributeName, text))
    {
        return std::nullopt;
    }
    text = context.GetPlaceholderExpression().Resolve(text);
    if (text.find("${") != BasicString::npos)
    {
        ThrowBadValue(attributeName, text, "variables that are known");
    }
    return text;
}

BasicString XmlElementReader::GetPosition() const
{
    return Text::Format("{0}:{1}", reader.GetFileName(), reader.GetLineNumber());
}

void XmlElementReader::ThrowBadValue(std::string_view attributeName, std::string_view value,
                                     std::string_view expected) const
{
    throw XmlException::Create(reader, "the attribute '{0}' of the element '{1}' is '{2}', expected {3}", attributeName,
                               reader.GetElementName(), value, expected);
}

void XmlElementReader::ThrowUnknownElement() const
{
    throw XmlException::Create(reader, "the element '{0}' is not known here", reader.GetElementName());
}

void XmlElementReader::ThrowRepeatedElement() const
{
    throw XmlException::Create(reader, "the element '{0}' occurs twice", reader.GetElementName());
}

} // namespace Oxa::System::Commons::Xml
