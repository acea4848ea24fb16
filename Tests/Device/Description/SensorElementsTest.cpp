#include "Device/Description/DeviceDescription.hpp"
#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"
#include "Support/LogRecorder.hpp"

#include <gmock/gmock.h>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Description;

namespace
{

/// `items`: one a line, the first in line 2.
BasicString WriteDescription(const FakeMachine& machine, const BasicString& items)
{
    machine.Write("/description.xml", "<DeviceDescriptionDocument>\n" + items + "\n</DeviceDescriptionDocument>\n");
    return machine.GetPath("/description.xml");
}

} // namespace

TEST(DescribingSensors, GivesItemsTheTypeThatTheirReadersExpect)
{
    const Support::LogRecorder log;
    const FakeMachine machine;
    machine.Write("/sys/class/hwmon/hwmon3/name", "board");
    machine.Write("/sys/class/hwmon/hwmon3/temp2_label", "SoC");
    machine.Write("/sys/class/hwmon/hwmon3/temp2_input", "-44500");
    machine.Write("/sys/class/thermal/thermal_zone1/type", "soc-thermal");
    machine.Write("/sys/class/thermal/thermal_zone1/temp", "44499");
    machine.Write("/sys/class/leds/red:fs/brightness", "1");
    machine.Write("/hot", "200");

    struct Case
    {
        const char* key;
        const char* source;
        const char* value;
    };

    constexpr const char* temperature = "Status.Board.Temperature.Centigrade";
    constexpr const char* position = "Status.RunStopSwitch.Position";
    const Case cases[] = {
        {temperature, R"(<hwmon chip="board" label="SoC"/>)", "Int8 -45"},
        {temperature, R"(<hwmon chip="board" input="temp2_input"/>)", "Int8 -45"},
        {temperature, R"(<hwmon chip="board" index="1" label="SoC"/>)", "NotSet"},
        {temperature, R"(<thermal zone="soc-thermal"/>)", "Int8 44"},
        {"Status.Leds.Safety.Fs", R"(<led name="red:fs"/>)", "Uint32 196609"},
        {"Status.Leds.Safety.Fs", R"(<led name="red:fs" colour="white"/>)", "Uint32 327681"},
        {position, R"(<gpio chip="c" line="0" activeLow="true" activeText="Run" inactiveText="Stop"/>)", "NotSet"},
        {temperature, R"(<simulated value="45"/>)", "Int8 45"},
        {temperature, R"(<simulated form="ramp" from="-5.5" to="-5.5" periodSeconds="10"/>)", "Int8 -6"},
        {temperature, R"(<simulated form="sine" mean="40.4" amplitude="0" noise="0.01" seed="3"/>)", "Int8 40"},
        {temperature, R"(<file path="/hot" type="uint8"/>)", "NotSet"},
        {position, R"(<simulated form="steps" values="Run; Stop" holdSeconds="1000000"/>)", "String Run"},
        {position, R"(<simulated value=""/>)", "String "},
        {temperature, R"(<first><file path="/hot" type="uint8"/><text value="7"/></first>)", "Int8 7"},
        {temperature, R"(<first choice="start"><file path="/hot" type="uint8"/><text value="7"/></first>)", "Int8 7"},
    };
    for (const auto& [key, source, value] : cases)
    {
        const BasicString path =
            WriteDescription(machine, BasicString("<Item key=\"") + key + "\">" + source + "</Item>");
        DescribedMachine described(machine.GetRoot());
        EXPECT_EQ(ToTypedText(DeviceDescription::Load(path).MakeItems(described)->Read(key)), value) << source;
    }
}

TEST(DescribingSensors, WarnsOfAChoiceThatStaysSimulated)
{
    const FakeMachine machine;
    machine.Write("/hot", "41");
    const std::pair<const char*, const char*> cases[] = {
        {R"(<first choice="start"><boardtemperature/><simulated value="45"/></first>)",
         "the item 'A' is simulated until the services start again: this machine has no temperature sensor"},
        {R"(<first choice="start"><file path="/hot"/><simulated value="45"/></first>)", ""},
        {R"(<first choice="start"><simulated value="45"/></first>)", ""},
        {R"(<first><boardtemperature/><simulated value="45"/></first>)", ""}};
    for (const auto& [source, warning] : cases)
    {
        const Support::LogRecorder log;
        const BasicString path = WriteDescription(machine, BasicString("<Item key=\"A\">") + source + "</Item>");
        DescribedMachine described(machine.GetRoot());
        EXPECT_NE(DeviceDescription::Load(path).MakeItems(described), nullptr);
        const auto entries = log.GetEntries();
        EXPECT_EQ(entries.empty() ? "" : entries.front().message, warning) << source;
    }
}

TEST(DescribingSensors, ReportsEveryMistakeWithItsLine)
{
    struct Case
    {
        const char* type;
        const char* source;
        const char* message;
    };

    const Case cases[] = {
        {"string", R"(<hwmon chip="a"/>)", "the element 'hwmon' needs either the attribute 'label' or 'input'"},
        {"string", R"(<hwmon chip="a" label="b" input="temp1_input"/>)",
         "the element 'hwmon' needs either the attribute 'label' or 'input'"},
        {"string", R"(<hwmon chip="a" input="../temp1_input"/>)",
         "the attribute 'input' of the element 'hwmon' is '../temp1_input', expected a file like 'temp1_input' or "
         "'in0_input'"},
        {"string", R"(<thermal zone=""/>)", "the element 'thermal' needs the attribute 'zone'"},
        {"string", R"(<led name="../../x"/>)",
         "the attribute 'name' of the element 'led' is '../../x', expected the name of a class device"},
        {"string", R"(<led name="x" colour="pink"/>)",
         "the attribute 'colour' of the element 'led' is 'pink', expected one of: green, yellow, red, blue, white"},
        {"string", R"(<gpio chip="a" line="b" activeText="c"/>)",
         "the element 'gpio' needs the attribute 'inactiveText'"},
        {"string", R"(<simulated/>)", "the element 'simulated' needs the attribute 'value'"},
        {"string", R"(<simulated form="ramp" periodSeconds="0"/>)",
         "the attribute 'periodSeconds' of the element 'simulated' is '0', expected a number from 0.001 to "
         "1000000000"},
        {"real64", R"(<simulated value="1" noise="-1"/>)",
         "the attribute 'noise' of the element 'simulated' is '-1', expected a number from 0 to "
         "1.7976931348623157e+308"},
        {"string", R"(<simulated form="steps" value="1" values="2"/>)",
         "the attribute 'value' does not belong to the form 'steps'"},
        {"bool", R"(<simulated form="ramp"/>)", "the form 'ramp' needs an item that is a number"},
        {"int8", R"(<simulated form="ramp" from="200" to="300"/>)",
         "the values from 200 to 300 do not all fit the item's type int8"},
        {"uint8", R"(<simulated form="sine" amplitude="-1"/>)",
         "the values from -1 to 1 do not all fit the item's type uint8"},
        {"int8", R"(<simulated form="steps" values="1;hot"/>)",
         "the attribute 'values' of the element 'simulated' is 'hot', expected a value of the item's type int8: a "
         "decimal number in its range"},
    };
    const FakeMachine machine;
    for (const auto& [type, source, message] : cases)
    {
        const BasicString path =
            WriteDescription(machine, BasicString("<Item key=\"A\" type=\"") + type + "\">\n" + source + "</Item>");
        EXPECT_THAT(CheckDescription(path).mistakes, testing::ElementsAre(path + ":3: " + message)) << source;
    }
}

} // namespace Oxa::Tests::Device
