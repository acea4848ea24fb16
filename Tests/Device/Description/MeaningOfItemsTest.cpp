#include "Device/Description/DeviceDescription.hpp"
#include "Device/FakeMachine.hpp"
#include "Device/Items/ItemHistories.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <utility>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Description;
using Oxa::Device::Linux::Items::ItemHistories;

namespace
{

BasicString Document(const BasicString& content)
{
    return "<DeviceDescriptionDocument>\n" + content + "</DeviceDescriptionDocument>";
}

/// "[°C] Temperature of the board, history" of each item, with line breaks between; keys of others are left out.
BasicString GetMeanings(const FakeMachine& machine, const BasicString& content)
{
    DescribedMachine described(machine.GetRoot());
    const auto table = DeviceDescription::Parse(Document(content), "test").MakeItems(described);
    BasicString text;
    for (const auto* const item : table->GetItems())
    {
        const auto& meaning = item->GetMeaning();
        text += fmt::format("{}[{}] {}{}", text.empty() ? "" : "\n", meaning.unit, meaning.description,
                            meaning.hasHistory ? ", history" : "");
    }
    return text;
}

BasicString MakeMarkedItems(std::size_t count)
{
    BasicString items;
    for (std::size_t number = 0; number < count; ++number)
    {
        items += fmt::format("<Item key='N{:02}' history='true'><uptime/></Item>\n", number);
    }
    return items;
}

} // namespace

TEST(MeaningOfItems, IsThatOfTheDescriptionThenOfTheKeyThenOfTheSource)
{
    const std::pair<const char*, const char*> cases[] = {
        {"<Item key='Status.Board.Temperature.Centigrade'><thermal zone='a'/></Item>",
         "[°C] Temperature of the board, history"},
        {"<Item key='Status.Board.Temperature.Centigrade' unit='C' description='In the middle' history='false'>"
         "<thermal zone='a'/></Item>",
         "[C] In the middle"},
        {"<Item key='Status.Board.Temperature.Centigrade' unit='' description=''><thermal zone='a'/></Item>",
         "[] , history"},
        {"<Item key='Status.UserPartition.Total'><memory/></Item>", "[B] Size of the user partition"},
        {"<Item key='Status.Leds.Runtime.Run'><led name='a'/></Item>", "[] LED Runtime.Run: state and colour"},
        {"<Item key='Status.Leds.Board.x'><led name='a'/></Item>", "[] LED Board.x: state and colour"},
        {"<Item key='General.SPNS.Loader.Version'><text value='1'/></Item>",
         "[] Version of the safety controller: Loader"},
        {"<Item key='K' history='true'><hwmon chip='a' input='in0_input'/></Item>", "[V] , history"},
        {"<Item key='K' unit='mV'><hwmon chip='a' input='in0_input'/></Item>", "[mV] "},
        {"<Item key='K'><hwmon chip='a' input='curr1_input'/></Item>", "[A] "},
        {"<Item key='K'><hwmon chip='a' input='fan1_input'/></Item>", "[rpm] "},
        {"<Item key='K'><hwmon chip='a' input='power1_input'/></Item>", "[W] "},
        {"<Item key='K'><hwmon chip='a' input='humidity1_input'/></Item>", "[%] "},
        {"<Item key='K'><hwmon chip='a' input='temp1_input'/></Item>", "[°C] "},
        {"<Item key='K'><hwmon chip='a' label='Tctl'/></Item>", "[] "},
        {"<Item key='K'><boardtemperature/></Item>", "[°C] "},
        {"<Item key='K'><memory figure='total'/></Item>", "[B] "},
        {"<Item key='K'><partition/></Item>", "[%] "},
        {"<Item key='K'><cpu core='2'/></Item>", "[%] "},
        {"<Item key='K'><cpu figure='count'/></Item>", "[] "},
        {"<Item key='K'><uptime/></Item>", "[s] "},
        {"<Item key='K'><first><file path='/x'/><thermal zone='a'/><uptime/></first></Item>", "[°C] "},
    };
    const FakeMachine machine;
    for (const auto& [content, meaning] : cases)
    {
        EXPECT_EQ(GetMeanings(machine, content), meaning) << content;
    }
}

TEST(MeaningOfItems, IsThatOfEachCore)
{
    const FakeMachine machine;
    machine.Write("/proc/stat", "cpu 1 0 0 1\ncpu0 1 0 0 1\ncpu1 1 0 0 1\n");
    EXPECT_EQ(GetMeanings(machine, "<Item key='Status.Cpu.{0}.Load.Percent'><cpu core='each'/></Item>"),
              "[%] Load of all processor cores together, history\n[%] Load of processor core 1\n"
              "[%] Load of processor core 2");
    EXPECT_EQ(GetMeanings(machine, "<Item key='Load.{0}' description='Core {0}' history='true'>"
                                   "<cpu core='each'/></Item>"),
              "[%] Core 0, history\n[%] Core 1\n[%] Core 2");
}

TEST(CheckingMeanings, ReportsMistakes)
{
    const BasicString each = "<Item key='Status.Cpu.{0}.Load.Percent'><cpu core='each'/></Item>";
    const BasicString all = "<Item key='Status.Cpu.0.Load.Percent'><cpu/></Item>";
    const BasicString tooMany = "more than 16 items have a history; the attribute 'history' of some has to be 'false'";
    const std::pair<BasicString, std::vector<BasicString>> cases[] = {
        {"<Item key='K' unit='" + BasicString(33, 'u') + "'><uptime/></Item>",
         {"2: the attribute 'unit' of the element 'Item' is '" + BasicString(33, 'u') +
          "', expected one line of at most 32 bytes"}},
        {"<Item key='K' description='a&#10;b'><uptime/></Item>",
         {"2: the attribute 'description' of the element 'Item' is 'a\nb', expected one line of at most 511 bytes"}},
        {"<Item key='K' history='yes'><uptime/></Item>",
         {"2: the attribute 'history' of the element 'Item' is 'yes', expected true or false"}},
        {"<Item key='K' type='string' history='true'><uptime/></Item>",
         {"2: the item 'K' is a text, it cannot have a history"}},
        {"<Item key='General.ArticleName' history='true'><text value='x'/></Item>",
         {"2: the item 'General.ArticleName' is a text, it cannot have a history"}},
        {MakeMarkedItems(16), {}},
        {MakeMarkedItems(17), {"18: " + tooMany}},
        {MakeMarkedItems(19), {"18: " + tooMany}},
        {MakeMarkedItems(16) + each, {"18: " + tooMany}},
        {MakeMarkedItems(15) + each, {}},
        {MakeMarkedItems(15) + all + each, {}},
        {MakeMarkedItems(15) + "<Item key='Status.Board.Temperature.Centigrade'><uptime/></Item>" + each,
         {"17: " + tooMany}},
    };
    const FakeMachine machine;
    for (const auto& [content, messages] : cases)
    {
        machine.Write("/d.xml", Document(content));
        auto mistakes = CheckDescription(machine.GetPath("/d.xml")).mistakes;
        for (BasicString& mistake : mistakes)
        {
            mistake.erase(0, machine.GetPath("/d.xml:").size());
        }
        EXPECT_EQ(mistakes, messages) << content;
        if (!messages.empty())
        {
            EXPECT_THROW((void)DeviceDescription::Load(machine.GetPath("/d.xml")), System::Commons::XmlException);
        }
    }
}

} // namespace Oxa::Tests::Device
