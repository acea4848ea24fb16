#include "Device/Description/DescriptionDocument.hpp"

#include "Device/Commands/CommandSettings.hpp"
#include "Device/Description/DescriptionCursor.hpp"
#include "Device/Description/ItemTypes.hpp"
#include "Device/Description/SourceReader.hpp"
#include "Device/Items/ItemConversion.hpp"
#include "Oxa/System/Commons/NotSupportedException.hpp"

#include <set>
#include <utility>

namespace Oxa::Device::Linux::Description
{

using Commands::CommandSettings;
using System::Commons::Xml::XmlReader;
using System::Commons::Xml::XmlSerializationContext;
using System::Rsc::RscType;

namespace
{

/// Reads one document.
class DocumentReader final
{
public:
    DocumentReader(DescriptionContent& content, DescriptionCursor& cursor) : content(content), cursor(cursor) {}

    void Read()
    {
        DescriptionElement element = cursor.GetElement();
        element.Read("name", content.name);
        element.ReportOthers();
        bool isEmpty = true;
        cursor.ForEachChild(
            [this, &isEmpty]
            {
                ReadTopElement();
                isEmpty = false;
            });
        if (isEmpty)
        {
            content.emptyFiles.push_back(cursor.GetFileName());
        }
    }

private:
    void ReadTopElement()
    {
        DescriptionElement element = cursor.GetElement();
        const BasicString name = element.GetName();
        if (name == "Item")
        {
            ReadItem(element);
            return;
        }
        if (name == "Restart")
        {
            ReadRestart(element);
        }
        else if (name == "FactoryReset")
        {
            ReadFactoryReset(element);
        }
        else
        {
            element.ReportUnknown();
            cursor.Skip();
            return;
        }
        RefuseRepetition(element, name);
        element.ReportOthers();
        cursor.RefuseChildren();
    }

    void RefuseRepetition(DescriptionElement& element, const BasicString& name)
    {
        if (!commandsRead.insert(name).second)
        {
            element.Report("the element '{0}' occurs twice", name);
        }
    }

    void ReadRestart(DescriptionElement& element)
    {
        using Action = CommandSettings::RestartAction;
        content.commands.restart = Action::None;
        element.RequirePresent("action");
        element.ReadChoice("action",
                           {{"simulate", Action::Simulate}, {"reboot", Action::Reboot}, {"none", Action::None}},
                           content.commands.restart);
    }

    void ReadFactoryReset(DescriptionElement& element)
    {
        using Action = CommandSettings::FactoryResetAction;
        CommandSettings& commands = content.commands;
        commands.factoryReset = Action::None;
        commands.factoryResetUnit.clear();
        element.RequirePresent("action");
        const bool isChosen = element.ReadChoice(
            "action", {{"simulate", Action::Simulate}, {"unit", Action::Unit}, {"none", Action::None}},
            commands.factoryReset);
        if (!isChosen)
        {
            element.Accept({"unit"});
        }
        else if (commands.factoryReset == Action::Unit)
        {
            ReadUnit(element);
        }
        else
        {
            element.RefuseWith("action", commands.factoryReset == Action::None ? "none" : "simulate", {"unit"});
        }
    }

    void ReadUnit(DescriptionElement& element)
    {
        BasicString& unit = content.commands.factoryResetUnit;
        element.ReadRequired("unit", unit);
        if (!unit.empty() && !Commands::IsStartableUnitName(unit))
        {
            element.ReportBadValue("unit", unit, "the name of a service or target of systemd");
        }
    }

    void ReadItem(DescriptionElement& element)
    {
        DescribedItem item;
        item.fileName = cursor.GetFileName();
        item.line = cursor.GetLine();
        const BasicString key = ReadKey(element);
        item.type = ReadType(element, key);
        element.ReportOthers();

        SourceReader sources(cursor, item.type);
        int sourceCount = 0;
        cursor.ForEachChild(
            [&sources, &item, &sourceCount]
            {
                item.makeSource = sources.ReadSource();
                ++sourceCount;
            });
        item.isForEachCore = sources.IsForEachCore();
        CheckSources(key, item, sourceCount);
        KeepItem(key, std::move(item));
    }

    BasicString ReadKey(DescriptionElement& element)
    {
        BasicString key;
        element.ReadRequired("key", key);
        if (key.size() > DescriptionDocument::maximumKeyBytes)
        {
            element.Report("the key has {0} bytes, {1} are allowed", key.size(), DescriptionDocument::maximumKeyBytes);
        }
        return key;
    }

    static std::optional<RscType> ReadType(DescriptionElement& element, const BasicString& key)
    {
        const auto expected = FindExpectedType(key);
        BasicString word;
        const bool isRead = element.Read("type", word);
        const auto type = Items::ParseItemType(word);
        if (isRead && !type)
        {
            element.ReportBadValue("type", word, Items::itemTypeWords);
        }
        if (expected && type && type != expected)
        {
            element.Report("the item '{0}' is read as {1}, it cannot be of type '{2}'", key,
                           Items::GetItemTypeWord(*expected), word);
        }
        return expected ? expected : type;
    }

    void CheckSources(const BasicString& key, const DescribedItem& item, int sourceCount)
    {
        if (sourceCount != 1)
        {
            cursor.ReportAt(item.line, "the item{0} has {1} sources, it needs one; several lie in an element 'first'",
                            key.empty() ? "" : " '" + key + "'", sourceCount);
        }
        if (key.empty())
        {
            return;
        }
        const bool hasPlace = key.find("{0}") != BasicString::npos;
        if (item.isForEachCore && !hasPlace)
        {
            cursor.ReportAt(item.line, "the key '{0}' needs '{{0}}' where the number of the core belongs", key);
        }
        if (hasPlace && !item.isForEachCore && sourceCount > 0)
        {
            cursor.ReportAt(item.line, "the key '{0}' has '{{0}}' in it, but no source is one for each core", key);
        }
    }

    void KeepItem(const BasicString& key, DescribedItem item)
    {
        if (key.empty())
        {
            return;
        }
        const auto found = content.items.find(key);
        if (found == content.items.end() && content.items.size() == DescriptionDocument::maximumItemCount)
        {
            cursor.ReportAt(item.line, "there are more than {0} items", DescriptionDocument::maximumItemCount);
            return;
        }
        if (found != content.items.end() && found->second.fileName == item.fileName)
        {
            cursor.ReportAt(item.line, "the item '{0}' is described already, in line {1}", key, found->second.line);
        }
        content.items.insert_or_assign(key, std::move(item));
    }

    DescriptionContent& content;
    DescriptionCursor& cursor;
    std::set<BasicString> commandsRead;
};

} // namespace

DescriptionDocument::DescriptionDocument(DescriptionContent& content, DescriptionProblems& problems)
    : content(content), problems(problems)
{
}

DescriptionDocument::~DescriptionDocument() = default;

void DescriptionDocument::ReadXml(XmlReader& reader, XmlSerializationContext& context)
{
    content.files.push_back(reader.GetFileName());
    DescriptionCursor cursor(reader, context, problems);
    DocumentReader(content, cursor).Read();
}

void DescriptionDocument::WriteXml(System::Commons::Xml::XmlWriter&, XmlSerializationContext&)
{
    throw System::Commons::NotSupportedException::Create("A device description is only read");
}

} // namespace Oxa::Device::Linux::Description
