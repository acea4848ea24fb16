#include "Device/Description/DescriptionElement.hpp"

#include "Device/Description/ItemTypes.hpp"
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
    return reader.GetElementLocalName();
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

void DescriptionElement::Read(std::string_view attributeName, BasicString& value)
{
    Expect(attributeName);
    problems.Try([this, attributeName, &value] { attributes.Read(attributeName, value); });
}

void DescriptionElement::ReadRequired(std::string_view attributeName, BasicString& value)
{
    Expect(attributeName);
    problems.Try([this, attributeName, &value] { attributes.ReadRequired(attributeName, value); });
}

void DescriptionElement::Read(std::string_view attributeName, bool& value)
{
    Expect(attributeName);
    problems.Try([this, attributeName, &value] { attributes.Read(attributeName, value); });
}

void DescriptionElement::Read(std::string_view attributeName, double& value)
{
    Read(attributeName, value, std::numeric_limits<double>::lowest(), std::numeric_limits<double>::max());
}

void DescriptionElement::Read(std::string_view attributeName, double& value, double minimum, double maximum)
{
    BasicString text;
    Read(attributeName, text);
    if (!Has(attributeName))
    {
        return;
    }
    const auto number = Machine::DeviceText::ParseReal(text);
    if (!number)
    {
        ReportBadValue(attributeName, text, "a number");
    }
    else if (*number < minimum || *number > maximum)
    {
        ReportBadValue(attributeName, text, fmt::format("a number from {} to {}", minimum, maximum));
    }
    else
    {
        value = static_cast<double>(*number);
    }
}

void DescriptionElement::Read(std::string_view attributeName, std::size_t& value, std::size_t minimum,
                              std::size_t maximum)
{
    Expect(attributeName);
    problems.Try([this, attributeName, &value, minimum, maximum]
                 { attributes.Read(attributeName, value, minimum, maximum); });
}

void DescriptionElement::ReadPath(std::string_view attributeName, BasicString& path)
{
    Expect(attributeName);
    const bool isRead = problems.Try([this, attributeName, &path] { attributes.Read(attributeName, path); });
    const BasicString closed = path + '/';
    if (isRead && Has(attributeName) && (!path.starts_with('/') || closed.find("/../") != BasicString::npos))
    {
        ReportBadValue(attributeName, path, "an absolute path without '..'");
    }
}

Items::ItemValue DescriptionElement::ParseValue(std::string_view attributeName, std::string_view text)
{
    const RscType type = itemType.value_or(RscType::String);
    const auto reading = Items::ItemConversion::FromText(text, type);
    if (!reading.HasValue() && Has(attributeName))
    {
        ReportBadValue(attributeName, text, fmt::format("a value of the item's type {}", GetItemTypeWord(type)));
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
    problems.Try([this, attributeName, value, expected] { attributes.ThrowBadValue(attributeName, value, expected); });
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
