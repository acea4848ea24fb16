#include "Device/FakeClock.hpp"
#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"
#include "Device/Sources/BoardTemperatureSource.hpp"

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
    machine.Write("/sys/devices/coretemp.2/hwmon1/pwm1_label", "Core 9\n");
    const std::pair<BasicString, BasicString> files[] = {{"in0_input", "1234"},
                                                         {"in0_label", "Core 8"},
                                                         {"in1_input", "-5"},
                                                         {"in1_label", "Vcore"},
                                                         {"curr1_input", "2500"},
                                                         {"fan1_input", "1200"},
                                                         {"power1_input", "15500000"},
                                                         {"humidity1_input", "45300"},
                                                         {"temp2_input", "45.5"},
                                                         {"temp3_input", ""},
                                                         {"temp4_input", "9223372036854775808"}};
    for (const auto& [name, content] : files)
    {
        machine.Write("/sys/devices/coretemp.2/hwmon1/" + name, content + "\n");
    }
    const BasicString device = machine.GetPath("/sys/devices/coretemp.2/hwmon1");

    struct Case
    {
        const char* chip;
        std::size_t index;
        const char* label;
        const char* input;
        BasicString expected;
    };

    const Case cases[] = {
        {"coretemp", 0, "", "temp1_input", "Real64 -4.6"},
        {"coretemp", 1, "", "temp1_input", "Real64 91"},
        {"coretemp", 0, "Core 8", "", "Real64 52.5"},
        {"coretemp", 0, "Vcore", "", "Real64 -0.005"},
        {"coretemp", 0, "", "in0_input", "Real64 1.234"},
        {"coretemp", 0, "", "curr1_input", "Real64 2.5"},
        {"coretemp", 0, "", "fan1_input", "Real64 1200"},
        {"coretemp", 0, "", "power1_input", "Real64 15.5"},
        {"coretemp", 0, "", "humidity1_input", "Real64 45.3"},
        {"coretemp", 0, "", "temp2_input", "'" + device + "/temp2_input' holds no whole number"},
        {"coretemp", 0, "", "temp3_input", "'" + device + "/temp3_input' holds no whole number"},
        {"coretemp", 0, "", "temp4_input", "'" + device + "/temp4_input' holds no whole number"},
        {"coretemp", 0, "Core 9", "", "'" + device + "' has no sensor with the label 'Core 9'"},
        {"coretemp", 2, "", "temp1_input",
         "'" + hwmon + "' has 2 devices of the name 'coretemp', none with the index 2"},
        {"core", 0, "", "temp1_input", "'" + hwmon + "' has 0 devices of the name 'core', none with the index 0"},
    };
    for (const auto& [chip, index, label, input, expected] : cases)
    {
        SensorAddress address = MakeHwmonAddress(machine.GetRoot(), chip, index);
        address.label = label;
        address.inputFile = input;
        SensorSource source(address, clock.Get());
        EXPECT_EQ(Read(source), expected) << source.Describe();
    }
    for (const char* name : {"temp_input", "temp1", "1_input", "pwm1_input", "../temp1_input", "in1_input/x", ""})
    {
        EXPECT_FALSE(IsSensorInput(name)) << name;
    }
}

TEST_F(MachineWithSensors, FollowsASensorToItsNewNumberAndNeverReadsAnother)
{
    Plug("fan", "cooling_device0", "type", "soc-thermal");
    Plug("soc", "thermal_zone0", "type", "soc-thermal");
    machine.Write("/sys/devices/soc/thermal_zone0/temp", "40000");
    SensorSource source(MakeThermalAddress(machine.GetRoot(), "soc-thermal", 0), clock.Get());
    EXPECT_EQ(Read(source), "Real64 40");

    // Another sensor takes the place, path and all.
    clock.Advance(std::chrono::milliseconds(1000));
    Unplug("soc", "thermal_zone0");
    Plug("soc", "thermal_zone0", "type", "gpu-thermal");
    machine.Write("/sys/devices/soc/thermal_zone0/temp", "99000");
    const BasicString missing = "'" + thermal + "' has 0 devices of the name 'soc-thermal', none with the index 0";
    EXPECT_EQ(Read(source), missing);

    Plug("soc", "thermal_zone1", "type", "soc-thermal");
    machine.Write("/sys/devices/soc/thermal_zone1/temp", "41000");
    clock.Advance(std::chrono::milliseconds(999));
    EXPECT_EQ(Read(source), missing) << "looked for twice within a second";
    clock.Advance(std::chrono::milliseconds(1));
    EXPECT_EQ(Read(source), "Real64 41");
}

TEST_F(MachineWithSensors, HasABoardTemperatureAsSoonAsADriverGivesOneAndKeepsIt)
{
    using namespace std::chrono_literals;
    const BasicString absence = "this machine has no temperature sensor";
    Plug("fan", "hwmon0", "name", "fan");
    BoardTemperatureSource source(machine.GetRoot(), clock.Get());
    EXPECT_EQ(Read(source), absence);
    EXPECT_EQ(source.GetOrigin(), ItemOrigin::Absent);
    EXPECT_EQ(source.Describe(), "none yet: " + absence);

    clock.Advance(1s);
    EXPECT_EQ(Read(source), absence);
    Plug("i2c-1", "hwmon1", "name", "coretemp");
    machine.Write("/sys/devices/i2c-1/hwmon1/temp1_input", "41000");
    clock.Advance(2s - 1ms);
    EXPECT_EQ(Read(source), absence) << "searched again too soon";
    clock.Advance(1ms);
    EXPECT_EQ(Read(source), "Real64 41");
    EXPECT_EQ(source.GetOrigin(), ItemOrigin::Measured);
    EXPECT_EQ(source.Describe(), "hardware monitor: sensor 'coretemp', file 'temp1_input'");

    Plug("i2c-2", "hwmon2", "name", "lm75");
    machine.Write("/sys/devices/i2c-2/hwmon2/temp1_input", "50000");
    clock.Advance(1h);
    EXPECT_EQ(Read(source), "Real64 41") << "a better one came later";
}

} // namespace Oxa::Tests::Device
