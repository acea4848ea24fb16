#include "Device/Description/DeviceDescription.hpp"

#include "Device/Description/DescriptionDocument.hpp"
#include "Device/Description/ItemTypes.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Xml/MultiXmlConfigDocument.hpp"
#include "Oxa/System/Commons/Xml/XmlReader.hpp"
#include "Oxa/System/Commons/Xml/XmlSerializationContext.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace Oxa::Device::Linux::Description
{

using System::Commons::Xml::MultiXmlConfigDocument;
using System::Commons::Xml::XmlConfigDocument;
using System::Commons::Xml::XmlReader;
using System::Commons::Xml::XmlSerializationContext;

namespace
{

DescriptionContent Read(const BasicString& path, DescriptionProblems& problems)
{
    DescriptionContent content;
    DescriptionDocument document(content, problems);
    XmlConfigDocument loader(DescriptionDocument::elementName, document);
    std::vector<BasicString> files;
    problems.Try([&files, &path] { files = MultiXmlConfigDocument::ListFiles(path); });
    // One file that cannot be read does not hide what is wrong with the others.
    for (const BasicString& file : files)
    {
        problems.Try([&loader, &file] { loader.Load(file); });
    }
    return content;
}

BasicString MakeCoreKey(BasicString key, std::size_t core)
{
    constexpr std::string_view place = "{0}";
    const BasicString number = std::to_string(core);
    for (std::size_t at = key.find(place); at != BasicString::npos; at = key.find(place, at + number.size()))
    {
        key.replace(at, place.size(), number);
    }
    return key;
}

void AddItemsOfCores(Items::ItemTable& table, const BasicString& key, const DescribedItem& item,
                     DescribedMachine& machine)
{
    const std::size_t coreCount = machine.GetCpuLoads()->GetCoreCount();
    for (std::size_t core = 0; core <= coreCount; ++core)
    {
        const BasicString coreKey = MakeCoreKey(key, core);
        if (table.TryFind(coreKey) == nullptr)
        {
            machine.SetCore(core);
            table.Add(coreKey, item.makeSource(machine), item.type);
        }
    }
}

} // namespace

DeviceDescription DeviceDescription::Load(const BasicString& path)
{
    DescriptionProblems problems(DescriptionProblems::Reaction::Throw);
    return DeviceDescription(Read(path, problems));
}

DeviceDescription DeviceDescription::Parse(const BasicString& text, BasicString fileName)
{
    XmlReader reader(text, std::move(fileName));
    if (reader.GetElementLocalName() != DescriptionDocument::elementName)
    {
        throw System::Commons::XmlException::Create(reader, "the document element is '{0}', expected '{1}'",
                                                    reader.GetElementLocalName(), DescriptionDocument::elementName);
    }
    DescriptionProblems problems(DescriptionProblems::Reaction::Throw);
    XmlSerializationContext context(System::Commons::Singleton<System::Commons::AppDomain>::TryGetInstance());
    DescriptionContent content;
    DescriptionDocument(content, problems).ReadXml(reader, context);
    reader.ReadToEnd();
    content.files.clear();
    return DeviceDescription(std::move(content));
}

const DescriptionContent& DeviceDescription::GetContent() const noexcept
{
    return content;
}

std::unique_ptr<Items::ItemTable> DeviceDescription::MakeItems(DescribedMachine& machine) const
{
    auto table = std::make_unique<Items::ItemTable>();
    for (const auto& [key, item] : content.items)
    {
        if (!item.isForEachCore)
        {
            table->Add(key, item.makeSource(machine), item.type);
        }
    }
    for (const auto& [key, item] : content.items)
    {
        if (item.isForEachCore)
        {
            AddItemsOfCores(*table, key, item, machine);
        }
    }
    return table;
}

DeviceDescription::DeviceDescription(DescriptionContent content) : content(std::move(content)) {}

DescriptionFindings CheckDescription(const BasicString& path)
{
    DescriptionProblems problems(DescriptionProblems::Reaction::Gather);
    const DescriptionContent content = Read(path, problems);
    DescriptionFindings findings = {problems.GetMessages(), {}};
    for (const BasicString& file : content.emptyFiles)
    {
        findings.warnings.push_back(file + ": warning: the document describes nothing");
    }
    for (const auto& [key, item] : content.items)
    {
        const BasicString similar(FindSimilarKey(key));
        if (!similar.empty() && !content.items.contains(similar))
        {
            findings.warnings.push_back(fmt::format("{}:{}: warning: '{}' is no well-known key; did you mean '{}'?",
                                                    item.fileName, item.line, key, similar));
        }
    }
    return findings;
}

} // namespace Oxa::Device::Linux::Description
