#include "Device/Description/DeviceDescription.hpp"

#include "Device/Description/SourceElements.hpp"
#include "Device/Items/ItemConversion.hpp"
#include "Device/Items/ItemHistories.hpp"
#include "Device/Items/WellKnownItems.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/Xml/MultiXmlConfigDocument.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"

#include <boost/algorithm/string/replace.hpp>
#include <fmt/format.h>

#include <utility>

namespace Oxa::Device::Linux::Description
{

using Commands::CommandSettings;
using Interface::Services::IDeviceItemService;
using Items::ItemHistories;
using Items::ItemMeaning;
using System::Commons::XmlException;
using System::Commons::Xml::XmlElementReader;
using System::Commons::Xml::XmlProblems;
using System::Commons::Xml::XmlReader;
using System::Rsc::RscType;

namespace
{

constexpr std::size_t maximumItemCount = 4096;
constexpr std::size_t maximumKeyBytes = 511;

/// Stands for the number of a core in a key.
constexpr const char* corePlace = "{0}";

void ReadRestart(XmlElementReader& element, CommandSettings& commands)
{
    using Action = CommandSettings::RestartAction;
    commands.restart = Action::None;
    element.RequirePresent("action");
    element.ReadChoice("action", {{"simulate", Action::Simulate}, {"reboot", Action::Reboot}, {"none", Action::None}},
                       commands.restart);
}

void ReadFactoryReset(XmlElementReader& element, CommandSettings& commands)
{
    using Action = CommandSettings::FactoryResetAction;
    commands.factoryReset = Action::None;
    commands.factoryResetUnit.clear();
    element.RequirePresent("action");
    const bool isChosen =
        element.ReadChoice("action", {{"simulate", Action::Simulate}, {"unit", Action::Unit}, {"none", Action::None}},
                           commands.factoryReset);
    if (!isChosen)
    {
        element.Ignore({"unit"});
        return;
    }
    if (commands.factoryReset != Action::Unit)
    {
        element.RefuseWith("action", commands.factoryReset == Action::None ? "none" : "simulate", {"unit"});
        return;
    }
    BasicString& unit = commands.factoryResetUnit;
    if (element.ReadRequired("unit", unit) && !Commands::IsStartableUnitName(unit))
    {
        element.ReportBadValue("unit", unit, "the name of a service or target of systemd");
    }
}

std::optional<RscType> ReadItemType(XmlElementReader& element, const BasicString& key)
{
    const auto expected = Items::FindExpectedType(key);
    const auto type = ReadType(element);
    if (expected && type && type != expected)
    {
        element.Report("the item '{0}' is read as {1}, it cannot be of type '{2}'", key,
                       Items::GetItemTypeWord(*expected), Items::GetItemTypeWord(*type));
    }
    return expected ? expected : type;
}

void ReadWords(XmlElementReader& element, std::string_view attributeName, std::size_t maximumBytes,
               std::optional<BasicString>& words)
{
    BasicString text;
    if (!element.Read(attributeName, text))
    {
        return;
    }
    if (text.size() > maximumBytes || !System::Commons::Text::IsPlain(text))
    {
        element.ReportBadValue(attributeName, text, fmt::format("one line of at most {} bytes", maximumBytes));
        return;
    }
    words = std::move(text);
}

GivenMeaning ReadMeaning(XmlElementReader& element)
{
    GivenMeaning meaning;
    ReadWords(element, "unit", IDeviceItemService::maximumUnitBytes, meaning.unit);
    ReadWords(element, "description", IDeviceItemService::maximumTextBytes, meaning.description);
    bool hasHistory = false;
    if (element.Read("history", hasHistory))
    {
        meaning.hasHistory = hasHistory;
    }
    return meaning;
}

void CheckSources(XmlElementReader& element, const BasicString& key, bool isForEachCore, int sourceCount)
{
    if (sourceCount != 1)
    {
        element.Report("the item{0} has {1} sources, it needs one; several lie in an element 'first'",
                       key.empty() ? "" : " '" + key + "'", sourceCount);
    }
    const bool hasPlace = key.find(corePlace) != BasicString::npos;
    if (isForEachCore && !hasPlace && !key.empty())
    {
        element.Report("the key '{0}' needs '{{0}}' where the number of the core belongs", key);
    }
    if (hasPlace && !isForEachCore && sourceCount > 0)
    {
        element.Report("the key '{0}' has '{{0}}' in it, but no source is one for each core", key);
    }
}

void ReadItem(XmlElementReader& element, std::map<BasicString, DescribedItem>& items)
{
    BasicString key;
    element.ReadRequired("key", key);
    if (key.size() > maximumKeyBytes)
    {
        element.Report("the key has {0} bytes, {1} are allowed", key.size(), maximumKeyBytes);
    }
    SourceContext context;
    context.itemKey = key;
    context.itemType = ReadItemType(element, key);
    GivenMeaning meaning = ReadMeaning(element);
    SourceMaker makeSource;
    int sourceCount = 0;
    element.ForEachChild(
        [&](XmlElementReader& child)
        {
            makeSource = ReadSource(child, context);
            ++sourceCount;
        });
    CheckSources(element, key, context.isForEachCore, sourceCount);
    if (key.empty())
    {
        return;
    }
    const auto found = items.find(key);
    if (found == items.end() && items.size() == maximumItemCount)
    {
        element.Report("there are more than {0} items", maximumItemCount);
        return;
    }
    if (found != items.end() && found->second.fileName == element.GetFileName())
    {
        element.Report("the item '{0}' is described already, in line {1}", key, found->second.line);
    }
    meaning.sourceUnit = std::move(context.unit);
    items.insert_or_assign(key, DescribedItem{context.itemType, std::move(meaning), context.isForEachCore,
                                              std::move(makeSource), element.GetFileName(), element.GetLine()});
}

BasicString MakeKey(const BasicString& key, std::size_t core)
{
    return boost::algorithm::replace_all_copy(key, corePlace, std::to_string(core));
}

/// `key`: the item's, or what comes of it for a core.
ItemMeaning MakeMeaning(const DescribedItem& item, const BasicString& key, std::size_t core)
{
    const GivenMeaning& given = item.meaning;
    const ItemMeaning wellKnown = Items::GetWellKnownMeaning(key);
    ItemMeaning meaning;
    meaning.unit = given.unit.value_or(wellKnown.unit.empty() ? given.sourceUnit : wellKnown.unit);
    meaning.description = given.description.value_or(wellKnown.description);
    meaning.hasHistory = given.hasHistory.value_or(wellKnown.hasHistory);
    if (item.isForEachCore)
    {
        boost::algorithm::replace_all(meaning.description, corePlace, std::to_string(core));
        // However many cores there are, the number of histories is known beforehand.
        meaning.hasHistory = meaning.hasHistory && core == 0;
    }
    return meaning;
}

void CheckHistories(const DeviceDescription& description, XmlProblems& problems)
{
    std::size_t count = 0;
    for (const auto& [key, item] : description.items)
    {
        const BasicString firstKey = item.isForEachCore ? MakeKey(key, 0) : key;
        const bool isReplaced = item.isForEachCore && description.items.contains(firstKey);
        if (isReplaced || !MakeMeaning(item, firstKey, 0).hasHistory)
        {
            continue;
        }
        if (item.type == RscType::String)
        {
            problems.Report(XmlException::CreateAt(
                item.fileName, item.line, fmt::format("the item '{}' is a text, it cannot have a history", key)));
        }
        if (++count == ItemHistories::maximumItems + 1)
        {
            problems.Report(XmlException::CreateAt(
                item.fileName, item.line,
                fmt::format("more than {} items have a history; the attribute 'history' of some has to be 'false'",
                            ItemHistories::maximumItems)));
        }
    }
}

void ReadDocument(XmlReader& reader, DeviceDescription& description, XmlProblems& problems)
{
    const auto read = [&description](XmlElementReader& root)
    {
        description.files.push_back(root.GetFileName());
        root.Read("name", description.name);
        const bool hasParts =
            root.ReadChildren({{"Item", [&](XmlElementReader& child) { ReadItem(child, description.items); },
                                XmlElementReader::Count::Many},
                               {"Restart",
                                [&](XmlElementReader& child)
                                {
                                    ReadRestart(child, description.commands);
                                }},
                               {"FactoryReset", [&](XmlElementReader& child)
                                {
                                    ReadFactoryReset(child, description.commands);
                                }}});
        if (!hasParts)
        {
            description.emptyFiles.push_back(root.GetFileName());
        }
    };
    XmlElementReader::ReadDocument(reader, DeviceDescription::elementName, problems, read);
}

DeviceDescription ReadFiles(const BasicString& path, XmlProblems& problems)
{
    DeviceDescription description;
    // A file that cannot be read must not hide the mistakes of the others.
    const auto reportProblem = [&problems](const auto& action)
    {
        try
        {
            action();
        }
        catch (const XmlException& problem)
        {
            problems.Report(problem);
        }
    };
    std::vector<BasicString> files;
    reportProblem([&] { files = System::Commons::Xml::MultiXmlConfigDocument::ListFiles(path); });
    for (const BasicString& file : files)
    {
        reportProblem(
            [&]
            {
                XmlReader reader(file);
                ReadDocument(reader, description, problems);
            });
    }
    CheckHistories(description, problems);
    return description;
}

} // namespace

DeviceDescription DeviceDescription::Load(const BasicString& path)
{
    XmlProblems problems(XmlProblems::Reaction::Throw);
    return ReadFiles(path, problems);
}

DeviceDescription DeviceDescription::Parse(const BasicString& text, BasicString fileName)
{
    XmlReader reader(text, std::move(fileName));
    XmlProblems problems(XmlProblems::Reaction::Throw);
    DeviceDescription description;
    ReadDocument(reader, description, problems);
    CheckHistories(description, problems);
    description.files.clear();
    return description;
}

std::unique_ptr<Items::ItemTable> DeviceDescription::MakeItems(DescribedMachine& machine) const
{
    auto table = std::make_unique<Items::ItemTable>();
    for (const auto& [key, item] : items)
    {
        if (!item.isForEachCore)
        {
            table->Add(key, item.makeSource(machine, 0), item.type, MakeMeaning(item, key, 0));
        }
    }
    for (const auto& [key, item] : items)
    {
        const std::size_t coreCount = item.isForEachCore ? machine.GetCpuLoads()->GetCoreCount() + 1 : 0;
        for (std::size_t core = 0; core < coreCount; ++core)
        {
            const BasicString coreKey = MakeKey(key, core);
            if (table->TryFind(coreKey) == nullptr)
            {
                table->Add(coreKey, item.makeSource(machine, core), item.type, MakeMeaning(item, coreKey, core));
            }
        }
    }
    return table;
}

DescriptionFindings CheckDescription(const BasicString& path)
{
    XmlProblems problems(XmlProblems::Reaction::Collect);
    const DeviceDescription description = ReadFiles(path, problems);
    DescriptionFindings findings = {problems.GetMessages(), {}};
    for (const BasicString& file : description.emptyFiles)
    {
        findings.warnings.push_back(file + ": warning: the document describes nothing");
    }
    for (const auto& [key, item] : description.items)
    {
        const BasicString similar(Items::FindSimilarKey(key));
        if (!similar.empty() && !description.items.contains(similar))
        {
            findings.warnings.push_back(fmt::format("{}:{}: warning: '{}' is no well-known key; did you mean '{}'?",
                                                    item.fileName, item.line, key, similar));
        }
    }
    return findings;
}

} // namespace Oxa::Device::Linux::Description
