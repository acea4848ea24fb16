#include "Device/MachineItems.hpp"

#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"

#include <gtest/gtest.h>

#include <map>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux;

namespace
{

using Values = std::map<BasicString, BasicString>;

std::unique_ptr<Items::ItemTable> MakeItems(const FakeMachine& machine)
{
    const auto loads = std::make_shared<Items::CpuLoads>(machine.GetPath("/proc/stat"),
                                                         machine.GetPath("/sys/devices/system/cpu/online"));
    const auto identity = std::make_shared<BootIdentity>(machine.GetPath("/proc/sys/kernel/random/boot_id"));
    return MakeMachineItems(machine.GetRoot(), loads, identity);
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
    const auto items = MakeItems(machine);
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
                             {"Status.System.BootId", "String 0f6ffb1c-9a1e-4b9c-8d55-2c8a1f0d7e21"},
                             {"Status.Board.Temperature.Centigrade", "Int8 53"},
                         });
    EXPECT_EQ(items->TryFind("Status.Board.Temperature.Centigrade")->GetSource().Describe(),
              "file " + machine.GetPath("/sys/class/hwmon/hwmon10/temp1_input") + " (sensor 'coretemp')");
}

TEST(ReadingAMachine, KnowsABoard)
{
    FakeMachine machine;
    machine.BecomeBoard();
    ExpectValues(*MakeItems(machine), {
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
    const auto items = MakeItems(machine);
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
    EXPECT_EQ(items->TryFind("Status.Board.Temperature.Centigrade")->GetSource().Describe(),
              "simulated: constant 45 °C");
    EXPECT_EQ(items->Read("Status.System.BootId").ToString().size(), 36U);
}

TEST(ReadingAMachine, NeverMakesUpATemperatureForASensorThatFailsLater)
{
    FakeMachine machine;
    machine.BecomeBoard();
    const auto items = MakeItems(machine);
    std::filesystem::remove(machine.GetPath("/sys/class/thermal/thermal_zone0/temp"));
    EXPECT_EQ(ToTypedText(items->Read("Status.Board.Temperature.Centigrade")), "NotSet");
}

TEST(ReadingAMachine, TakesNoBootIdThatIsNone)
{
    const FakeMachine machine;
    for (const char* text :
         {"", "0f6ffb1c", "0f6ffb1c-9a1e-4b9c-8d55-2c8a1f0d7e2\"", "0f6ffb1cx9a1e-4b9c-8d55-2c8a1f0d7e21"})
    {
        machine.Write("/boot_id", text);
        BootIdentity identity(machine.GetPath("/boot_id"));
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
    EXPECT_THROW(MachineRoot(machine.GetPath("/file")), Oxa::System::Commons::ArgumentException);
    EXPECT_THROW(MachineRoot(machine.GetPath("/missing")), Oxa::System::Commons::ArgumentException);
    EXPECT_THROW(MachineRoot(""), Oxa::System::Commons::ArgumentException);
    EXPECT_EQ(MachineRoot("/").Resolve("/proc/stat"), "/proc/stat");
    EXPECT_EQ(MachineRoot("/tmp//").Resolve("/proc/stat"), "/tmp/proc/stat");
}

} // namespace Oxa::Tests::Device
