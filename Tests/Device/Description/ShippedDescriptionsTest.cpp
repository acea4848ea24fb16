#include "Device/Description/DescriptionWriter.hpp"
#include "Device/Description/DeviceDescription.hpp"
#include "Device/FakeMachine.hpp"
#include "Device/Identity/BootIdentity.hpp"
#include "Device/ItemValueText.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"

#include <gtest/gtest.h>

#include <map>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux;
using Description::WriteDescription;

namespace
{

using Values = std::map<BasicString, BasicString>;

std::unique_ptr<Items::ItemTable> MakeItems(const BasicString& fileName, const Machine::MachineRoot& root)
{
    Description::DescribedMachine machine(root);
    return Description::DeviceDescription::Load(BasicString(OXA_DESCRIPTIONS) + "/" + fileName).MakeItems(machine);
}

void ExpectValues(const Items::ItemTable& items, const Values& values)
{
    for (const auto& [key, value] : values)
    {
        EXPECT_EQ(ToTypedText(items.Read(key)), value) << key;
    }
}

} // namespace

TEST(ReadingAMachine, KnowsAPc)
{
    FakeMachine machine;
    machine.BecomePc();
    const auto items = MakeItems("pc.xml", machine.GetRoot());
    ExpectValues(*items, {
                             {"General.ArticleName", "String Compact PC 7"},
                             {"General.ArticleNumber", "String CB-7"},
                             {"General.SerialNumber", "NotSet"},
                             {"General.Firmware.Version", "String Plain \"Linux\" 12"},
                             {"General.Hardware.Version", "String Rev 2.1"},
                             {"General.Fpga.Version", "NotSet"},
                             {"General.SPNS.Firmware.Version", "NotSet"},
                             {"Cpu.Cores.Count", "Uint8 3"},
                             {"Status.Cpu.0.Load.Percent", "Uint8 15"},
                             {"Status.Cpu.1.Load.Percent", "Uint8 10"},
                             {"Status.Cpu.2.Load.Percent", "Uint8 40"},
                             {"Status.Cpu.3.Load.Percent", "Uint8 0"},
                             {"Status.Cpu.4.Load.Percent", "NotSet"},
                             {"Status.Memory.Usage.Percent.Actual", "Uint8 25"},
                             {"Status.System.UpTime.Seconds", "Uint64 93784"},
                             {"Status.Board.Temperature.Centigrade", "Int8 53"},
                         });
    EXPECT_EQ(items->TryFind("Status.Board.Temperature.Centigrade")->GetSource().Describe(),
              "hardware monitor: sensor 'coretemp', file 'temp1_input'");
}

TEST(ReadingAMachine, KnowsABoard)
{
    FakeMachine machine;
    machine.BecomeBoard();
    ExpectValues(*MakeItems("pc.xml", machine.GetRoot()), {
                                                              {"General.ArticleName", "String Board Four Rev 1.2"},
                                                              {"General.ArticleNumber", "String maker,board-four"},
                                                              {"General.SerialNumber", "String 10000000abcdef01"},
                                                              {"General.Firmware.Version", "String Board OS"},
                                                              {"General.Hardware.Version", "NotSet"},
                                                              {"Cpu.Cores.Count", "Uint8 1"},
                                                              {"Status.Cpu.1.Load.Percent", "Uint8 0"},
                                                              {"Status.Memory.Usage.Percent.Actual", "NotSet"},
                                                              {"Status.System.UpTime.Seconds", "Uint64 7"},
                                                              {"Status.Board.Temperature.Centigrade", "Int8 -5"},
                                                          });
}

TEST(ReadingAMachine, SimulatesOnlyWhatAnEmptyFolderCanHave)
{
    const FakeMachine machine;
    const auto items = MakeItems("pc.xml", machine.GetRoot());
    ExpectValues(*items, {
                             {"General.ArticleName", "NotSet"},
                             {"General.SerialNumber", "NotSet"},
                             {"Cpu.Cores.Count", "NotSet"},
                             {"Status.Cpu.0.Load.Percent", "NotSet"},
                             {"Status.System.UpTime.Seconds", "NotSet"},
                             {"Status.Board.Temperature.Centigrade", "Int8 45"},
                             {"Status.Leds.Runtime.Run", "Uint32 65537"},
                             {"Status.Leds.Safety.Fs", "Uint32 196608"},
                             {"Status.RunStopSwitch.Supported", "Bool true"},
                             {"Status.RunStopSwitch.Position", "String Run"},
                         });
    EXPECT_EQ(items->TryFind("Status.Board.Temperature.Centigrade")->GetSource().Describe(), "simulated: constant 45");
}

TEST(ReadingAMachine, NeverMakesUpATemperatureForASensorThatFailsLater)
{
    FakeMachine machine;
    machine.BecomeBoard();
    const auto items = MakeItems("pc.xml", machine.GetRoot());
    std::filesystem::remove(machine.GetPath("/sys/class/thermal/thermal_zone0/temp"));
    EXPECT_EQ(ToTypedText(items->Read("Status.Board.Temperature.Centigrade")), "NotSet");
}

TEST(ReadingAMachine, IsASingleBoardComputerWithItsDeviceTree)
{
    const auto items = MakeItems("sbc.xml", Machine::MachineRoot(OXA_MACHINES "/sbc"));
    ExpectValues(*items, {
                             {"General.ArticleName", "String Single Board Computer 5 Rev 1.1"},
                             {"General.ArticleNumber", "String example,sbc5"},
                             {"General.SerialNumber", "String 100000004f2a91c3"},
                             {"General.Firmware.Version", "String Board OS 12 (stable)"},
                             {"General.Hardware.Version", "String 17"},
                             {"Cpu.Cores.Count", "Uint8 4"},
                             {"Status.Cpu.0.Load.Percent", "Uint8 20"},
                             {"Status.Cpu.4.Load.Percent", "Uint8 50"},
                             {"Status.Memory.Usage.Percent.Actual", "Uint8 25"},
                             {"Status.System.UpTime.Seconds", "Uint64 3601"},
                             {"Status.Board.Temperature.Centigrade", "Int8 48"},
                             {"Status.Leds.Runtime.Run", "Uint32 65537"},
                             {"Status.Leds.Runtime.Fail", "Uint32 196608"},
                             {"Status.Leds.Runtime.Ext", "Uint32 65538"},
                             {"Status.RunStopSwitch.Position", "String Run"},
                             {"Board.Supply.Volts", "Real64 5.12"},
                         });
}

TEST(ReadingAMachine, IsASimulatedControllerWithItemsOfEveryOriginAndQuality)
{
    FakeMachine machine;
    machine.BecomePc();
    machine.Write("/proc/sys/kernel/osrelease", "6.1.0-demo\n");
    machine.Write("/proc/loadavg", "0.25 0.10 0.05 1/100 1234\n");
    const auto items = MakeItems("controller.xml", machine.GetRoot());
    std::map<Items::ItemOrigin, int> counts;
    int histories = 0;
    std::vector<BasicString> missing;
    const auto pass = Items::ReadPass::Begin();
    for (Items::DeviceItem* const item : items->GetItems())
    {
        const auto reading = item->TryRead(pass);
        ++counts[reading.HasValue() ? reading.origin : item->GetSource().GetOrigin()];
        histories += item->GetMeaning().hasHistory ? 1 : 0;
        EXPECT_NE(item->GetMeaning().description, "") << item->GetKey();
        if (!reading.HasValue())
        {
            missing.push_back(item->GetKey());
        }
    }
    using Origin = Items::ItemOrigin;
    EXPECT_EQ(counts, (std::map<Origin, int>{
                          {Origin::Measured, 6}, {Origin::Fixed, 12}, {Origin::Simulated, 36}, {Origin::Absent, 1}}));
    EXPECT_EQ(histories, 9);
    EXPECT_EQ(missing, (std::vector<BasicString>{"Board.Battery.Volts", "Slots.3.ArticleName"}));
    EXPECT_EQ(items->TryFind("Board.Processor.Temperature.Centigrade")->GetSource().GetOrigin(), Origin::Measured);

    machine.Write("/dev/shm/oxa-demo/battery", "3.02\n");
    const auto later = MakeItems("controller.xml", machine.GetRoot());
    EXPECT_EQ(ToTypedText(later->Read("Board.Battery.Volts")), "Real32 3.02");
}

TEST(ReadingAMachine, KnowsWhatItsItemsMean)
{
    FakeMachine machine;
    machine.BecomePc();
    for (const char* const name : {"pc.xml", "sbc.xml"})
    {
        const auto items = MakeItems(name, machine.GetRoot());
        int histories = 0;
        for (const Items::DeviceItem* item : items->GetItems())
        {
            EXPECT_NE(item->GetMeaning().description, "") << item->GetKey() << " of " << name;
            histories += item->GetMeaning().hasHistory ? 1 : 0;
        }
        EXPECT_GE(histories, 4) << name;
    }
}

TEST(DescribingAMachine, WritesWhatGivesAValueAndSimulatesOnlyWhenAsked)
{
    FakeMachine pc;
    pc.BecomePc();
    const FakeMachine empty;
    for (const Machine::MachineRoot& root :
         {pc.GetRoot(), Machine::MachineRoot(OXA_MACHINES "/sbc"), Machine::MachineRoot("/"), empty.GetRoot()})
    {
        for (const bool isSimulated : {false, true})
        {
            const auto description =
                Description::DeviceDescription::Parse(WriteDescription(root, isSimulated), "written");
            Description::DescribedMachine machine(root);
            const auto items = description.MakeItems(machine);
            EXPECT_GE(items->GetItems().size(), 17U);
            for (const Items::DeviceItem* item : items->GetItems())
            {
                const bool isAbsent = !isSimulated && item->GetSource().Describe().starts_with("none: ");
                EXPECT_EQ(ToTypedText(items->Read(item->GetKey())) == "NotSet", isAbsent)
                    << item->GetKey() << " of " << root.Resolve("");
                EXPECT_FALSE(!isSimulated && item->GetSource().GetSimulation() == Items::Simulation::Always)
                    << item->GetKey();
            }
            EXPECT_EQ(ToTypedText(items->Read("Status.RunStopSwitch.Supported")),
                      !isSimulated ? "Bool false" : "Bool true");
        }
    }
}

TEST(DescribingAMachine, PrefersSensorsOfTheBoardAndOffersWhatElseItFound)
{
    const FakeMachine machine;
    const char* const sensors[][3] = {
        {"hwmon0", "nvme", "71000"}, {"hwmon1", "soc_thermal", "63000"}, {"hwmon2", "lm75", "41000"}};
    for (const auto& [number, name, temperature] : sensors)
    {
        machine.Write(BasicString("/sys/class/hwmon/") + number + "/name", name);
        machine.Write(BasicString("/sys/class/hwmon/") + number + "/temp1_input", temperature);
    }
    machine.Write("/sys/class/leds/board:red:fault/brightness", "1");
    machine.Write("/sys/class/leds/red--x/brightness", "1");
    const BasicString text = WriteDescription(machine.GetRoot(), false);
    for (const char* const part :
         {"<Item key=\"Status.Board.Temperature.Centigrade\" unit=\"°C\" description=\"Temperature of the board\" "
          "history=\"true\">\n  <hwmon chip=\"lm75\" input=\"temp1_input\"/>",
          "<!-- Or: <hwmon chip=\"soc_thermal\" input=\"temp1_input\"/> <hwmon chip=\"nvme\" input=\"temp1_input\"/> "
          "-->",
          "<absent part=\"LED\"/>\n </Item>\n <!-- Or: <led name=\"board:red:fault\"/> -->",
          "<Item key=\"Status.Leds.Board.board:red:fault\" description=\"LED Board.board:red:fault: state and "
          "colour\">"})
    {
        EXPECT_NE(text.find(part), BasicString::npos) << part << " in " << text;
    }
}

TEST(DescribingAMachine, TellsSensorsOfOneNameApartAndLeavesOutWhatHasNoUsableName)
{
    const FakeMachine machine;
    machine.Write("/sys/class/thermal/thermal_zone0/type", "soc");
    machine.Write("/sys/class/thermal/thermal_zone1/type", "soc");
    machine.Write("/sys/class/thermal/thermal_zone1/temp", "41000");
    machine.Write("/sys/class/leds/${X}/brightness", "1");
    machine.Write("/sys/class/leds/phy0--tx/trigger", "");
    const BasicString text = WriteDescription(machine.GetRoot(), false);
    EXPECT_NE(text.find(R"(<thermal zone="soc" index="1"/>)"), BasicString::npos) << text;
    EXPECT_NO_THROW((void)Description::DeviceDescription::Parse(text, "written")) << text;
    machine.Write("/sys/class/hwmon/hwmon0/temp1_input", "30000");
    std::filesystem::remove_all(machine.GetPath("/sys/class/thermal"));
    EXPECT_NE(WriteDescription(machine.GetRoot(), false).find("<boardtemperature/>"), BasicString::npos);
}

TEST(ReadingAMachine, TakesNoBootIdThatIsNone)
{
    const FakeMachine machine;
    for (const char* text :
         {"", "0f6ffb1c", "0f6ffb1c-9a1e-4b9c-8d55-2c8a1f0d7e2\"", "0f6ffb1cx9a1e-4b9c-8d55-2c8a1f0d7e21"})
    {
        machine.Write("/boot_id", text);
        Identity::BootIdentity identity(machine.GetPath("/boot_id"));
        const BasicString first = identity.Get();
        EXPECT_EQ(first.size(), 36U) << "text: '" << text << "'";
        EXPECT_NE(first, text);
        identity.Renew();
        EXPECT_NE(identity.Get(), first);
    }
}

TEST(ChoosingTheRoot, RefusesWhatIsNoFolder)
{
    const FakeMachine machine;
    machine.Write("/file", "");
    EXPECT_THROW(Machine::MachineRoot(machine.GetPath("/file")), Oxa::System::Commons::ArgumentException);
    EXPECT_THROW(Machine::MachineRoot(machine.GetPath("/missing")), Oxa::System::Commons::ArgumentException);
    EXPECT_THROW(Machine::MachineRoot(""), Oxa::System::Commons::ArgumentException);
    EXPECT_EQ(Machine::MachineRoot("/").Resolve("/proc/stat"), "/proc/stat");
    EXPECT_EQ(Machine::MachineRoot("/tmp//").Resolve("/proc/stat"), "/tmp/proc/stat");
}

} // namespace Oxa::Tests::Device
