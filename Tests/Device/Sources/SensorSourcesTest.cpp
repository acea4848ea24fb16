#include "Device/FakeClock.hpp"
#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"
#include "Device/Sources/HwmonSource.hpp"
#include "Device/Sources/ThermalSource.hpp"

#include <gtest/gtest.h>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Items;
using namespace Oxa::Device::Linux::Machine;
using namespace Oxa::Device::Linux::Sources;

namespace
{

/// A machine whose classes are symbolic links to devices, as the kernel's are.
class MachineWithSensors : public testing::Test
{
protected:
    /// Device "coretemp.0" as the class's "hwmon2" becomes {"/sys/devices/coretemp.0/hwmon2", "name", …}.
    void Plug(const BasicString& device, const BasicString& number, const BasicString& nameFile,
              const BasicString& name) const
    {
        const BasicString folder = "/sys/devices/" + device + "/" + number;
        machine.Write(folder + "/" + nameFile, name + "\n");
        const BasicString classFolder = nameFile == "name" ? hwmon : thermal;
        std::filesystem::create_directories(classFolder);
        std::filesystem::create_directory_symlink("../../.." + folder, classFolder + "/" + number);
    }

    void Unplug(const BasicString& device, const BasicString& number) const
    {
        std::filesystem::remove(hwmon + "/" + number);
        std::filesystem::remove(thermal + "/" + number);
        std::filesystem::remove_all(machine.GetPath("/sys/devices/" + device));
    }

    [[nodiscard]] BasicString Read(IItemSource& source) const
    {
        const ItemReading reading = source.Read(ReadPass::Begin());
        EXPECT_EQ(reading.HasValue(), reading.value.GetType() != System::Rsc::RscType::NotSet);
        return reading.HasValue() ? ToTypedText(reading.value) : reading.cause;
    }

    const FakeMachine machine;
    const BasicString hwmon = machine.GetPath("/sys/class/hwmon");
    const BasicString thermal = machine.GetPath("/sys/class/thermal");
    FakeClock clock;
};

} // namespace

TEST_F(MachineWithSensors, FindsTheLabelOrTheFileOfTheChipOfTheName)
{
    Plug("coretemp.10", "hwmon0", "name", "coretemp");
    machine.Write("/sys/devices/coretemp.10/hwmon0/temp1_input", "91000\n");
    Plug("coretemp.2", "hwmon1", "name", "coretemp");
    machine.Write("/sys/devices/coretemp.2/hwmon1/temp1_input", "-4600\n");
    machine.Write("/sys/devices/coretemp.2/hwmon1/temp10_label", "Core 8\n");
    machine.Write("/sys/devices/coretemp.2/hwmon1/temp10_input", "52500\n");
    machine.Write("/sys/devices/coretemp.2/hwmon1/fan1_label", "Core 9\n");

    const std::pair<HwmonSource::Sensor, BasicString> cases[] = {
        {{"coretemp", 0, "", "temp1_input"}, "Real64 -4.6"},
        {{"coretemp", 1, "", "temp1_input"}, "Real64 91"},
        {{"coretemp", 0, "Core 8", ""}, "Real64 52.5"},
        {{"coretemp", 0, "Core 9", ""},
         "'" + machine.GetPath("/sys/devices/coretemp.2/hwmon1") + "' has no temperature of the label 'Core 9'"},
        {{"coretemp", 2, "", "temp1_input"}, "'" + hwmon + "' has 2 of the name 'coretemp', not one of index 2"},
        {{"core", 0, "", "temp1_input"}, "'" + hwmon + "' has 0 of the name 'core', not one of index 0"},
    };
    for (const auto& [sensor, expected] : cases)
    {
        HwmonSource source(hwmon, sensor, clock.Get());
        EXPECT_EQ(Read(source), expected) << source.Describe();
    }
}

TEST_F(MachineWithSensors, FollowsASensorToItsNewNumberAndNeverReadsAnother)
{
    Plug("fan", "cooling_device0", "type", "soc-thermal");
    Plug("soc", "thermal_zone0", "type", "soc-thermal");
    machine.Write("/sys/devices/soc/thermal_zone0/temp", "40000");
    ThermalSource source(thermal, "soc-thermal", 0, clock.Get());
    EXPECT_EQ(Read(source), "Real64 40");

    // Another sensor takes the place, path and all.
    clock.Advance(std::chrono::milliseconds(1000));
    Unplug("soc", "thermal_zone0");
    Plug("soc", "thermal_zone0", "type", "gpu-thermal");
    machine.Write("/sys/devices/soc/thermal_zone0/temp", "99000");
    const BasicString missing = "'" + thermal + "' has 0 of the name 'soc-thermal', not one of index 0";
    EXPECT_EQ(Read(source), missing);

    Plug("soc", "thermal_zone1", "type", "soc-thermal");
    machine.Write("/sys/devices/soc/thermal_zone1/temp", "41000");
    clock.Advance(std::chrono::milliseconds(999));
    EXPECT_EQ(Read(source), missing) << "looked for twice within a second";
    clock.Advance(std::chrono::milliseconds(1));
    EXPECT_EQ(Read(source), "Real64 41");
}

} // namespace Oxa::Tests::Device
