#include "Device/Description/DeviceDescription.hpp"
#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Description;

namespace
{

using Messages = std::vector<BasicString>;

/// Without the file's name.
Messages Check(const FakeMachine& machine, const BasicString& content)
{
    machine.Write("/d.xml", "<DeviceDescriptionDocument>\n" + content + "\n</DeviceDescriptionDocument>\n");
    Messages messages = CheckDescription(machine.GetPath("/d.xml")).mistakes;
    for (BasicString& message : messages)
    {
        message.erase(0, machine.GetPath("/d.xml:").size());
    }
    return messages;
}

} // namespace

TEST(CheckingADescription, ReportsEveryMistakeWithItsLine)
{
    const FakeMachine machine;
    EXPECT_EQ(
        Check(machine, R"(<Item key="A" typo="1" type="int9">
  <file path="x" pattern="(" scale="fast" colour="red"/>
</Item>
<Item key="A"><first><frist/><first/></first></Item>
<Item><text value="x"/><uptime unit="s"/></Item>
<Item key="General.ArticleName" type="uint8"/>
<Item key="Status.Cpu.{0}.Load.Percent"><text value="300"/></Item>
<Item key="Load"><cpu core="each"><text/></cpu></Item>
<Restart action="now"/><FactoryReset action="unit"/><Restart action="none"/>)"),
        (Messages{
            "2: the attribute 'type' of the element 'Item' is 'int9', expected bool, int8 to uint64, real32, "
            "real64 or string",
            "2: the element 'Item' has no attribute 'typo'",
            "3: the attribute 'path' of the element 'file' is 'x', expected an absolute path without '..'",
            "3: the attribute 'pattern' of the element 'file' is '(', expected a regular expression: "
            "missing ): (",
            "3: the attribute 'scale' of the element 'file' is 'fast', expected a decimal number",
            "3: the element 'file' has no attribute 'colour'",
            "5: the element 'frist' is not known here",
            "5: the element 'first' has no source in it",
            "5: the item 'A' is described already, in line 2",
            "6: the element 'Item' needs the attribute 'key'",
            "6: the element 'uptime' has no attribute 'unit'",
            "6: the item has 2 sources, it needs one; several lie in an element 'first'",
            "7: the item 'General.ArticleName' is read as string, it cannot be of type 'uint8'",
            "7: the item 'General.ArticleName' has 0 sources, it needs one; several lie in an element 'first'",
            "8: the attribute 'value' of the element 'text' is '300', expected a value of the item's type uint8: a "
            "decimal number in its range",
            "8: the key 'Status.Cpu.{0}.Load.Percent' has '{0}' in it, but no source is one for each core",
            "9: the element 'text' is not known here",
            "9: the key 'Load' needs '{0}' where the number of the core belongs",
            "10: the attribute 'action' of the element 'Restart' is 'now', expected one of: simulate, reboot, none",
            "10: the element 'FactoryReset' needs the attribute 'unit'",
            "10: the element 'Restart' occurs twice",
        }));
}

TEST(CheckingADescription, ReportsMistakesBeforeAFaultOfTheDocument)
{
    const FakeMachine machine;
    EXPECT_EQ(
        Check(machine, R"(<Item key="A"/>
<Item
   key="B">x<foo>y<text value="z"/></foo>z</Item>
<Item key="C" xml:type="uint8"><xml:uptime/></Item>
<Item key="D">)"),
        (Messages{"2: the item 'A' has 0 sources, it needs one; several lie in an element 'first'",
                  "4: the text 'x' does not belong here: values are attributes",
                  "4: the element 'foo' is not known here",
                  "4: the text 'z' does not belong here: values are attributes",
                  "5: the element 'Item' has no attribute 'xml:type'", "5: the element 'xml:uptime' is not known here",
                  "7: Opening and ending tag mismatch: Item line 6 and DeviceDescriptionDocument"}));
}

TEST(CheckingADescription, DrawsNoConclusionsFromAMistake)
{
    const std::pair<const char*, Messages> cases[] = {
        {R"(<Item key="K"><simulated form="stepz" values="1" holdSeconds="1" noise="1"/></Item>)",
         {"2: the attribute 'form' of the element 'simulated' is 'stepz', expected one of: constant, ramp, sine, "
          "steps"}},
        {R"(<Item key="K"><simulated form="boom" noise="2"/></Item>)",
         {"2: the attribute 'form' of the element 'simulated' is 'boom', expected one of: constant, ramp, sine, "
          "steps"}},
        {R"(<Item key="K" type="uint8"><text value="${NOPE}"/></Item>)",
         {"2: the attribute 'value' of the element 'text' is '${NOPE}', expected variables that are known"}},
        {R"(<Item key="K"><cpu core="${NOPE}"/></Item>)",
         {"2: the attribute 'core' of the element 'cpu' is '${NOPE}', expected variables that are known"}},
        {R"(<Item/>)",
         {"2: the element 'Item' needs the attribute 'key'",
          "2: the item has 0 sources, it needs one; several lie in an element 'first'"}},
        {R"(<FactoryReset action="units" unit="a.service"/>)",
         {"2: the attribute 'action' of the element 'FactoryReset' is 'units', expected one of: simulate, unit, none"}},
        {R"(<FactoryReset action="simulate" unit="a.service"/>)",
         {"2: the attribute 'unit' does not belong to the action 'simulate'"}},
        {R"(<Item key="K"><cpu figure="count" core="1"/></Item>)",
         {"2: the attribute 'core' does not belong to the figure 'count'"}},
        {R"(<Item key="K"><dmi field="a..b"/></Item>)",
         {"2: the attribute 'field' of the element 'dmi' is 'a..b', expected a name below the folder, without '..'"}},
        {R"(<Item key="K"><hwmon chip="a" label="b" index="-1"/></Item>)",
         {"2: the attribute 'index' of the element 'hwmon' is '-1', expected a whole number from 0 to 1000 in decimal "
          "digits"}},
        {R"(<Item key="K" type="bool"><text value="yes"/></Item>)",
         {"2: the attribute 'value' of the element 'text' is 'yes', expected a value of the item's type bool: true, "
          "false, 1 or 0"}},
    };
    const FakeMachine machine;
    for (const auto& [content, messages] : cases)
    {
        EXPECT_EQ(Check(machine, content), messages) << content;
    }
}

TEST(CheckingADescription, BoundsWhatItTakes)
{
    const FakeMachine machine;
    BasicString deep = "<text value='x'/>";
    for (int level = 0; level < 9; ++level)
    {
        deep = "<first>" + deep + "</first>";
    }
    BasicString many;
    for (int item = 0; item < 4097; ++item)
    {
        many += "<Item key='" + std::to_string(item) + "'><uptime/></Item>";
    }
    const std::pair<BasicString, BasicString> cases[] = {
        {"<Item key='K'>" + deep + "</Item>", "2: more than 8 elements 'first' lie in one another"},
        {many, "2: there are more than 4096 items"},
        {"<Item key='" + BasicString(512, 'k') + "'><uptime/></Item>", "2: the key has 512 bytes, 511 are allowed"},
        {"<Item key='K'><file path='/x' pattern='(a)(b)'/></Item>",
         "2: the attribute 'pattern' of the element 'file' is '(a)(b)', expected a regular expression: exactly "
         "one group"}};
    for (const auto& [content, message] : cases)
    {
        const Messages messages = Check(machine, content);
        ASSERT_FALSE(messages.empty()) << message;
        EXPECT_EQ(messages.front(), message);
    }
}

TEST(CheckingADescription, GoesOnWithTheOtherFilesOfAFolder)
{
    const FakeMachine machine;
    machine.Write("/d/1.xml", "<DeviceDescriptionDocument>");
    machine.Write("/d/1b.xml", "");
    machine.Write("/d/2.xml", "<Other/>");
    machine.Write("/d/3.xml", "<DeviceDescriptionDocument><Itme/></DeviceDescriptionDocument>");
    machine.Write("/d/.4.xml", "no description");
    const Messages messages = CheckDescription(machine.GetPath("/d")).mistakes;
    EXPECT_EQ(messages, (Messages{machine.GetPath("/d/1.xml:1: the document ends before its element is closed"),
                                  machine.GetPath("/d/1b.xml:1: the document is empty"),
                                  machine.GetPath("/d/2.xml:1: the document element is 'Other', expected "
                                                  "'DeviceDescriptionDocument'"),
                                  machine.GetPath("/d/3.xml:1: the element 'Itme' is not known here")}));
}

TEST(CheckingADescription, WarnsOfEmptyDocumentsAndOfKeysThatAreNearlyWellKnown)
{
    const std::pair<const char*, const char*> cases[] = {
        {"General.SerialNo", "General.SerialNumber"},
        {"General.serialnumber", "General.SerialNumber"},
        {"General.Serial.Number", "General.SerialNumber"},
        {"Status.Led.Runtime.Run", "Status.Leds.Runtime.Run"},
        {"Status.Leds.Runtime.Fial", "Status.Leds.Runtime.Fail"},
        {"Status.Cpu.12.Load.Percnt", "Status.Cpu.{0}.Load.Percent"},
        {"Status.Cpu.12.Load.Percent", ""},
        {"Status.Leds.Board.board:green:run", ""},
        {"General.SPNS.Firmware.Version", ""},
        {"General.Bootloader.Version", ""},
        {"Board.Supply.Volts", ""},
        {"X", ""},
    };
    const FakeMachine machine;
    const BasicString path = machine.GetPath("/d.xml");
    for (const auto& [key, similar] : cases)
    {
        machine.Write("/d.xml", BasicString("<DeviceDescriptionDocument>\n<Item key='") + key +
                                    "'><absent part='x'/></Item></DeviceDescriptionDocument>");
        const BasicString warning =
            path + ":2: warning: '" + key + "' is no well-known key; did you mean '" + similar + "'?";
        const auto findings = CheckDescription(path);
        EXPECT_EQ(findings.mistakes, Messages());
        EXPECT_EQ(findings.warnings, *similar == '\0' ? Messages() : Messages{warning}) << key;
    }
    machine.Write("/d.xml", "<DeviceDescriptionDocument name='x'> </DeviceDescriptionDocument>");
    EXPECT_EQ(CheckDescription(path).warnings, Messages{path + ": warning: the document describes nothing"});
}

TEST(LoadingADescription, StopsAtTheFirstMistake)
{
    const FakeMachine machine;
    machine.Write("/d.xml", "<DeviceDescriptionDocument>\n<Item key='A'/>\n<Itme/>\n</DeviceDescriptionDocument>");
    try
    {
        static_cast<void>(DeviceDescription::Load(machine.GetPath("/d.xml")));
        FAIL() << "taken";
    }
    catch (const System::Commons::XmlException& exception)
    {
        EXPECT_EQ(exception.GetMessage(), machine.GetPath("/d.xml") + ":2: the item 'A' has 0 sources, it needs one; "
                                                                      "several lie in an element 'first'");
    }
}

TEST(LoadingADescription, LetsLaterFilesOfAFolderWinItemByItem)
{
    FakeMachine machine;
    machine.BecomePc();
    machine.Write("/d/1.xml", R"(<DeviceDescriptionDocument><Restart action="simulate"/>
        <Item key="A" type="uint8"><text value="1"/></Item><Item key="B"><text value="b"/></Item>
        <Item key="Status.Cpu.{0}.Load.Percent"><cpu core="each"/></Item></DeviceDescriptionDocument>)");
    machine.Write("/d/2.xml", R"(<DeviceDescriptionDocument><Restart action="reboot"/><Item key="A"><uptime/></Item>
        <Item key="Status.Cpu.2.Load.Percent"><text value="7"/></Item></DeviceDescriptionDocument>)");
    const auto description = DeviceDescription::Load(machine.GetPath("/d"));
    EXPECT_EQ(description.commands.restart, Oxa::Device::Linux::Commands::CommandSettings::RestartAction::Reboot);
    DescribedMachine described(machine.GetRoot());
    const auto items = description.MakeItems(described);
    for (const auto& [key, value] : {std::pair("A", "Uint64 93784"),
                                     {"B", "String b"},
                                     {"Status.Cpu.1.Load.Percent", "Uint8 10"},
                                     {"Status.Cpu.2.Load.Percent", "Uint8 7"},
                                     {"Status.Cpu.3.Load.Percent", "Uint8 0"}})
    {
        EXPECT_EQ(ToTypedText(items->Read(key)), value) << key;
    }
}

} // namespace Oxa::Tests::Device
