#include "Device/Description/DescriptionElement.hpp"

#include "Device/Items/ItemConversion.hpp"
#include "Device/Machine/DeviceText.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace Oxa::Device::Linux::Description
{

using System::Rsc::RscType;

DescriptionElement::DescriptionElement(System::Commons::Xml::XmlReader& reader,
                                       System::Commons::Xml::XmlSerializationContext& context,
                                       DescriptionProblems& problems)
    : reader(reader), attributes(reader, context), problems(problems)
{
}

BasicString DescriptionElement::GetName() const
{
    return reader.GetElementName();
}

std::optional<RscType> DescriptionElement::GetItemType() const noexcept
{
    return itemType;
}

void DescriptionElement::SetItemType(std::optional<RscType> type) noexcept
{
    itemType = type;
}

bool DescriptionElement::IsForEachCore() const noexcept
{
    return isForEachCore;
}

void DescriptionElement::SetForEachCore() noexcept
{
    isForEachCore = true;
}

bool DescriptionElement::Has(std::string_view attributeName) const
{
    BasicString ignored;
    return reader.TryGetAttributeValue(attributeName, ignored);
}

bool DescriptionElement::IsBad(std::string_view attributeName) const noexcept
{
    return std::find(badNames.begin(), badNames.end(), attributeName) != badNames.end();
}

bool DescriptionElement::RequirePresent(std::string_view attributeName)
{
    const bool isPresent = Has(attributeName);
    if (!isPresent)
    {
        Report("the element '{0}' needs the attribute '{1}'", GetName(), attributeName);
    }
    return isPresent;
}

bool DescriptionElement::Read(std::string_view attributeName, BasicString& value)
{
    return TryRead(attributeName, [this, attributeName, &value] { attributes.Read(attributeName, value); });
}

bool DescriptionElement::ReadRequired(std::string_view attributeName, BasicString& value)
{
    return TryRead(attributeName, [this, attributeName, &value] { attributes.ReadRequired(attributeName, value); });
}

bool DescriptionElement::Read(std::string_view attributeName, bool& value)
{
    return TryRead(attributeName, [this, attributeName, &value] { attributes.Read(attributeName, value); });
}

bool DescriptionElement::Read(std::string_view attributeName, double& value)
{
    return Read(attributeName, value, std::numeric_limits<double>::lowest(), std::numeric_limits<double>::max());
}

bool DescriptionElement::Read(std::string_view attributeName, double& value, double minimum, double maximum)
{
    BasicString text;
    if (!Read(attributeName, text))
    {
        return false;
    }
    const auto number = Machine::DeviceText::ParseReal(text);
    if (!number)
    {
        ReportBadValue(attributeName, text, "a decimal number");
        return false;
    }
    if (*number < minimum || *number > maximum)
    {
        ReportBadValue(attributeName, text, fmt::format("a number from {} to {}", minimum, maximum));
        return false;
    }
    value = static_cast<double>(*number);
    return true;
}

bool DescriptionElement::Read(std::string_view attributeName, std::size_t& value, std::size_t minimum,
                              std::size_t maximum)
{
    return TryRead(attributeName, [this, attributeName, &value, minimum, maximum]
                   { attributes.Read(attributeName, value, minimum, maximum); });
}

bool DescriptionElement::Read(std::string_view attributeName, std::chrono::milliseconds& value,
                              std::chrono::milliseconds minimum, std::chrono::milliseconds maximum)
{
    return TryRead(attributeName, [this, attributeName, &value, minimum, maximum]
                   { attributes.Read(attributeName, value, minimum, maximum); });
}

void DescriptionElement::RefuseWith(std::string_view choiceName, std::string_view word,
                                    std::initializer_list<std::string_view> attributeNames)
{
    for (const std::string_view name : attributeNames)
    {
        Expect(name);
        if (Has(name))
        {
            Report("the attribute '{0}' does not belong to the {1} '{2}'", name, choiceName, word);
        }
    }
}

void DescriptionElement::RefuseWithout(std::string_view otherName,
                                       std::initializer_list<std::string_view> attributeNames)
{
    for (const std::string_view name : attributeNames)
    {
        Expect(name);
        if (Has(name))
        {
            Report("the attribute '{0}' needs the attribute '{1}'", name, otherName);
        }
    }
}

void DescriptionElement::Accept(std::initializer_list<std::string_view> attributeNames)
{
    for (const std::string_view name : attributeNames)
    {
        Expect(name);
    }
}

bool DescriptionElement::ReadPath(std::string_view attributeName, BasicString& path)
{
    if (!Read(attributeName, path))
    {
        return false;
    }
    const BasicString closed = path + '/';
    if (!path.starts_with('/') || closed.find("/../") != BasicString::npos)
    {
        ReportBadValue(attributeName, path, "an absolute path without '..'");
        return false;
    }
    return true;
}

Items::ItemValue DescriptionElement::ParseValue(std::string_view attributeName, std::string_view text)
{
    const RscType type = itemType.value_or(RscType::String);
    const auto reading = Items::ItemConversion::FromText(text, type);
    if (!reading.HasValue())
    {
        ReportBadValue(attributeName, text,
                       fmt::format("a value of the item's type {}: {}", Items::GetItemTypeWord(type),
                                   type == RscType::Bool ? "true, false, 1 or 0" : "a decimal number in its range"));
    }
    if (type == RscType::String && text.size() > Items::ItemReading::maximumTextBytes)
    {
        Report("the attribute '{0}' of the element '{1}' has a text of {2} bytes, {3} are allowed", attributeName,
               GetName(), text.size(), Items::ItemReading::maximumTextBytes);
    }
    return reading.value;
}

void DescriptionElement::ReportBadValue(std::string_view attributeName, std::string_view value,
                                        std::string_view expected)
{
    TryRead(attributeName,
            [this, attributeName, value, expected] { attributes.ThrowBadValue(attributeName, value, expected); });
}

void DescriptionElement::ReportUnknown()
{
    problems.Try([this] { attributes.ThrowUnknownElement(); });
}

void DescriptionElement::ReportOthers()
{
    for (const BasicString& name : reader.GetAttributeNames())
    {
        if (std::find(knownNames.begin(), knownNames.end(), name) == knownNames.end())
        {
            Report("the element '{0}' has no attribute '{1}'", GetName(), name);
        }
    }
}

void DescriptionElement::Expect(std::string_view attributeName)
{
    knownNames.emplace_back(attributeName);
}

} // namespace Oxa::Device::Linux::Description
