#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"

#include <charconv>
#include <cmath>
#include <optional>
#include <set>
#include <system_error>

namespace Oxa::System::Commons::Xml
{

namespace
{

template <class T>
std::optional<T> ParseNumber(std::string_view text) noexcept
{
    T number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

bool Contains(const std::vector<BasicString>& names, std::string_view name) noexcept
{
    return std::ranges::find(names, name) != names.end();
}

} // namespace

void XmlProblems::Report(const XmlException& problem)
{
    // A list that is longer is not read by people.
    constexpr std::size_t maximumCount = 1000;
    if (reaction == Reaction::Throw)
    {
        throw problem;
    }
    if (messages.size() <= maximumCount)
    {
        messages.push_back(messages.size() < maximumCount ? problem.GetMessage() : "… and more");
    }
}

void XmlElementReader::ReadDocument(XmlReader& reader, std::string_view documentElementName, XmlProblems& problems,
                                    const ReadFunction& read)
{
    reader.RequireDocumentElement(documentElementName);
    XmlSerializationContext context(Singleton<AppDomain>::TryGetInstance());
    XmlElementReader(reader, context, problems).ReadWith(read);
    reader.ReadToEnd();
}

void XmlElementReader::ReadFile(const BasicString& path, std::string_view documentElementName, const ReadFunction& read)
{
    XmlReader reader(path);
    XmlProblems problems(XmlProblems::Reaction::Throw);
    ReadDocument(reader, documentElementName, problems, read);
}

XmlElementReader::XmlElementReader(XmlReader& reader, XmlSerializationContext& context, XmlProblems& problems)
    : reader(reader),
      context(context),
      problems(problems),
      name(reader.GetElementName()),
      line(reader.GetLineNumber()),
      depth(reader.GetDepth())
{
}

BasicString XmlElementReader::GetPosition() const
{
    return Text::Format("{0}:{1}", GetFileName(), line);
}

bool XmlElementReader::Has(std::string_view attributeName) const
{
    BasicString ignored;
    return reader.TryGetAttributeValue(attributeName, ignored);
}

bool XmlElementReader::IsBad(std::string_view attributeName) const noexcept
{
    return Contains(badNames, attributeName);
}

bool XmlElementReader::RequirePresent(std::string_view attributeName)
{
    const bool isPresent = Has(attributeName);
    if (!isPresent)
    {
        Report("the element '{0}' needs the attribute '{1}'", name, attributeName);
    }
    return isPresent;
}

bool XmlElementReader::Read(std::string_view attributeName, BasicString& value)
{
    knownNames.emplace_back(attributeName);
    BasicString text;
    if (!reader.TryGetAttributeValue(attributeName, text))
    {
        return false;
    }
    text = context.GetPlaceholderExpression().Resolve(text);
    if (text.find("${") != BasicString::npos)
    {
        ReportBadValue(attributeName, text, "variables that are known");
        return false;
    }
    value = std::move(text);
    return true;
}

bool XmlElementReader::ReadRequired(std::string_view attributeName, BasicString& value)
{
    const bool isRead = Read(attributeName, value);
    if (value.empty() && !IsBad(attributeName))
    {
        Report("the element '{0}' needs the attribute '{1}'", name, attributeName);
    }
    return isRead && !value.empty();
}

bool XmlElementReader::Read(std::string_view attributeName, bool& value)
{
    BasicString text;
    if (!Read(attributeName, text))
    {
        return false;
    }
    if (text != "true" && text != "false")
    {
        ReportBadValue(attributeName, text, "true or false");
        return false;
    }
    value = text == "true";
    return true;
}

bool XmlElementReader::Read(std::string_view attributeName, double& value, double minimum, double maximum)
{
    BasicString text;
    if (!Read(attributeName, text))
    {
        return false;
    }
    const auto number = ParseNumber<double>(text);
    if (!number || !std::isfinite(*number))
    {
        ReportBadValue(attributeName, text, "a decimal number");
        return false;
    }
    if (*number < minimum || *number > maximum)
    {
        ReportBadValue(attributeName, text, Text::Format("a number from {0} to {1}", minimum, maximum));
        return false;
    }
    value = *number;
    return true;
}

bool XmlElementReader::ReadWhole(std::string_view attributeName, uint64& value, uint64 minimum, uint64 maximum)
{
    BasicString text;
    if (!Read(attributeName, text))
    {
        return false;
    }
    const auto number = ParseNumber<uint64>(text);
    if (!number || *number < minimum || *number > maximum)
    {
        ReportBadValue(attributeName, text,
                       Text::Format("a whole number from {0} to {1} in decimal digits", minimum, maximum));
        return false;
    }
    value = *number;
    return true;
}

void XmlElementReader::RefuseWith(std::string_view choiceName, std::string_view word,
                                  std::initializer_list<std::string_view> attributeNames)
{
    Ignore(attributeNames);
    for (const std::string_view attributeName : attributeNames)
    {
        if (Has(attributeName))
        {
            Report("the attribute '{0}' does not belong to the {1} '{2}'", attributeName, choiceName, word);
        }
    }
}

void XmlElementReader::Ignore(std::initializer_list<std::string_view> attributeNames)
{
    knownNames.insert(knownNames.end(), attributeNames.begin(), attributeNames.end());
}

void XmlElementReader::ReportBadValue(std::string_view attributeName, std::string_view value, std::string_view expected)
{
    badNames.emplace_back(attributeName);
    Report("the attribute '{0}' of the element '{1}' is '{2}', expected {3}", attributeName, name, value, expected);
}

void XmlElementReader::ReportUnknown()
{
    Report("the element '{0}' is not known here", name);
    Skip();
}

void XmlElementReader::Skip()
{
    areChildrenRead = true;
    reader.ReadEndElement();
    MoveOn();
}

void XmlElementReader::ForEachChild(const ReadFunction& readChild)
{
    areChildrenRead = true;
    ReportUnreadAttributes();
    MoveOn();
    while (reader.GetDepth() > depth)
    {
        XmlElementReader(reader, context, problems).ReadWith(readChild);
    }
}

bool XmlElementReader::ReadChildren(std::initializer_list<Child> children)
{
    std::set<std::string_view> found;
    ForEachChild(
        [&children, &found](XmlElementReader& child)
        {
            const auto* const known = std::ranges::find(children, child.GetName(), &Child::name);
            if (known == children.end())
            {
                child.ReportUnknown();
                return;
            }
            // The values of two of them may differ.
            if (!found.insert(known->name).second && known->count == Count::One)
            {
                child.Report("the element '{0}' occurs twice", child.GetName());
            }
            known->read(child);
        });
    return !found.empty();
}

void XmlElementReader::ReadList(std::string_view childName, const ReadFunction& read)
{
    ReadChildren({{childName, read, Count::Many}});
}

void XmlElementReader::ReadWith(const ReadFunction& read)
{
    read(*this);
    if (!areChildrenRead)
    {
        ForEachChild([](XmlElementReader& child) { child.ReportUnknown(); });
    }
}

void XmlElementReader::MoveOn()
{
    // At the end of the document the reader stands on the document element again.
    reader.TryReadStartElement();
    if (reader.GetSkippedTextLine() > 0)
    {
        problems.Report(XmlException::CreateAt(
            GetFileName(), reader.GetSkippedTextLine(),
            Text::Format("the text '{0}' does not belong here: values are attributes", reader.GetSkippedText())));
    }
}

void XmlElementReader::ReportUnreadAttributes()
{
    for (const BasicString& attributeName : reader.GetAttributeNames())
    {
        if (!Contains(knownNames, attributeName))
        {
            Report("the element '{0}' has no attribute '{1}'", name, attributeName);
        }
    }
}

} // namespace Oxa::System::Commons::Xml
