#include "Device/Description/FileElements.hpp"

#include "Device/Items/ItemConversion.hpp"
#include "Device/Machine/DeviceText.hpp"
#include "Device/Sources/FallbackSource.hpp"
#include "Device/Sources/FileSource.hpp"

#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Description
{

using Sources::DeviceTreeSource;
using Sources::FileSource;
using System::Rsc::RscType;

namespace
{

/// A name below a folder that the kernel gives.
void ReadNameBelow(DescriptionElement& element, std::string_view attributeName, BasicString& name)
{
    element.ReadRequired(attributeName, name);
    if (name.starts_with('/') || name.find("..") != BasicString::npos)
    {
        element.ReportBadValue(attributeName, name, "a name below the folder, without '..'");
    }
}

std::shared_ptr<const Sources::LinePattern> ReadPattern(DescriptionElement& element)
{
    BasicString pattern;
    if (!element.Read("pattern", pattern))
    {
        return nullptr;
    }
    BasicString fault;
    auto compiled = Sources::LinePattern::TryMake(pattern, fault);
    if (!compiled)
    {
        element.ReportBadValue("pattern", pattern, "a regular expression: " + fault);
    }
    return compiled;
}

RscType ReadType(DescriptionElement& element)
{
    BasicString word;
    if (!element.Read("type", word))
    {
        return element.GetItemType().value_or(RscType::String);
    }
    const auto type = Items::ParseItemType(word);
    if (!type)
    {
        element.ReportBadValue("type", word, Items::itemTypeWords);
    }
    return type.value_or(RscType::String);
}

SourceMaker MakeFile(BasicString path, FileSource::Options options)
{
    return [path = std::move(path), options = std::move(options)](DescribedMachine& machine)
    {
        return std::make_unique<FileSource>(machine.GetFile(path), options);
    };
}

std::vector<BasicString> SplitWords(std::string_view text)
{
    std::vector<BasicString> words;
    for (std::string_view word = Machine::DeviceText::TakeWord(text); !word.empty();
         word = Machine::DeviceText::TakeWord(text))
    {
        words.emplace_back(word);
    }
    return words;
}

} // namespace

SourceMaker ReadText(DescriptionElement& element)
{
    BasicString text;
    Items::ItemValue value;
    if (element.RequirePresent("value") && element.Read("value", text))
    {
        value = element.ParseValue("value", text);
    }
    return [value](DescribedMachine&)
    {
        return std::make_unique<Sources::ConstantSource>(value);
    };
}

SourceMaker ReadFile(DescriptionElement& element)
{
    BasicString path;
    FileSource::Options options;
    element.RequirePresent("path");
    element.ReadPath("path", path);
    options.pattern = ReadPattern(element);
    element.Read("scale", options.scale);
    element.Read("offset", options.offset);
    options.type = ReadType(element);
    return MakeFile(std::move(path), std::move(options));
}

SourceMaker ReadDmi(DescriptionElement& element)
{
    BasicString field;
    ReadNameBelow(element, "field", field);
    FileSource::Options options;
    options.refusesPlaceholders = true;
    return MakeFile("/sys/class/dmi/id/" + field, std::move(options));
}

SourceMaker ReadDeviceTree(DescriptionElement& element)
{
    constexpr std::size_t maximumIndex = 1000;
    BasicString property;
    DeviceTreeSource::Options options;
    ReadNameBelow(element, "property", property);
    element.Read("index", options.index, 0, maximumIndex);
    element.Read("cells", options.cells, 0, 2);
    return [path = "/proc/device-tree/" + property, options](DescribedMachine& machine)
    {
        return std::make_unique<DeviceTreeSource>(machine.GetFile(path), options);
    };
}

SourceMaker ReadOsRelease(DescriptionElement& element)
{
    BasicString field;
    element.ReadRequired("field", field);
    auto fields = SplitWords(field);
    if (fields.empty() && !field.empty())
    {
        element.ReportBadValue("field", field, "names");
    }
    return [fields = std::move(fields)](DescribedMachine& machine)
    {
        std::vector<std::shared_ptr<Machine::KeptFile>> files = {machine.GetFile("/etc/os-release"),
                                                                 machine.GetFile("/usr/lib/os-release")};
        return std::make_unique<Sources::OsReleaseSource>(std::move(files), fields);
    };
}

} // namespace Oxa::Device::Linux::Description
