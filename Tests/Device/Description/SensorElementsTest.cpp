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
        {temperature, R"(<simulated form="sine" mean="200"/>)", "NotSet"},
        {position, R"(<simulated form="steps" values="Run; Stop" holdSeconds="1000000"/>)", "String Run"},
        {position, R"(<simulated value=""/>)", "String "},
        {temperature, R"(<simulated value="45" fault="wrongType"/>)", "String simulated wrong type"},
        {position, R"(<simulated value="Run" fault="wrongType"/>)", "Real64 0"},
        {position, R"(<simulated value="Run" fault="dropConnection" every="2"/>)", "String Run"},
        {position, R"(<first><simulated value="a" fault="notSet"/><text value="b"/></first>)", "String b"},
        {temperature, R"(<first><simulated form="sine" mean="200"/><text value="7"/></first>)", "Int8 7"},
        {temperature, R"(<first choice="start"><simulated form="sine" mean="200"/><text value="7"/></first>)",
         "Int8 7"},
    };
    for (const auto& [key, source, value] : cases)
    {
        const BasicString path =
            WriteDescription(machine, BasicString("<Item key=\"") + key + "\">" + source + "</Item>");
        DescribedMachine described(machine.GetRoot());
        EXPECT_EQ(ToTypedText(DeviceDescription::Load(path).MakeItems(described)->Read(key)), value) << source;
    }
}

TEST(DescribingSensors, SaysEveryMistakeWithItsLine)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"(<hwmon chip="a"/>)", "either"},
        {R"(<hwmon chip="a" label="b" input="temp1_input"/>)", "either"},
        {R"(<hwmon chip="a" input="../temp1_input"/>)", "input"},
        {R"(<thermal zone=""/>)", "zone"},
        {R"(<led name="../../x"/>)", "name"},
        {R"(<led name="x" colour="pink"/>)", "colour"},
        {R"(<gpio chip="a" line="b" activeText="c"/>)", "inactiveText"},
        {R"(<simulated/>)", "value"},
        {R"(<simulated form="ramp" periodSeconds="0"/>)", "periodSeconds"},
        {R"(<simulated form="square"/>)", "form"},
        {R"(<simulated value="1" noise="-1"/>)", "noise"},
        {R"(<simulated value="1" every="2"/>)", "every"},
        {R"(<simulated value="1" fault="notSet" every="0"/>)", "every"},
        {R"(<simulated form="steps" value="1" values="2"/>)", "value"},
    };
    const FakeMachine machine;
    for (const auto& [source, word] : cases)
    {
        const BasicString path = WriteDescription(machine, BasicString("<Item key=\"A\">") + source + "</Item>");
        const auto messages = CheckDescription(path);
        ASSERT_FALSE(messages.empty()) << source;
        EXPECT_THAT(messages[0], testing::HasSubstr(word)) << source;
    }
    const auto messages = CheckDescription(
        WriteDescription(machine, "<Item key=\"Status.Board.Temperature.Centigrade\">\n"
                                  "<simulated form=\"steps\" values=\"1;hot;300\" holdSeconds=\"-1\"/>\n</Item>"));
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_THAT(messages, testing::Each(testing::HasSubstr("description.xml")));
    EXPECT_THAT(messages, testing::Each(testing::HasSubstr("3")));
}

} // namespace Oxa::Tests::Device
