#include "Device/MachineItems.hpp"

#include "Device/BootIdSource.hpp"
#include "Device/Items/AbsentSource.hpp"
#include "Device/Items/BootClockSource.hpp"
#include "Device/Items/CpuCountSource.hpp"
#include "Device/Items/CpuLoadSource.hpp"
#include "Device/Items/FileSource.hpp"
#include "Device/Items/FirstSource.hpp"
#include "Device/Items/MemorySource.hpp"
#include "Device/Items/OsReleaseSource.hpp"
#include "Device/Items/PartitionSource.hpp"
#include "Device/Items/SimulatedSource.hpp"
#include "Device/Items/TemperatureSource.hpp"
#include "Device/Items/UptimeFileSource.hpp"
#include "Device/LedStatus.hpp"
#include "Device/TemperatureSensor.hpp"

#include <fmt/format.h>

#include <initializer_list>
#include <utility>
#include <vector>

namespace Oxa::Device::Linux
{

namespace
{

using Items::IItemSource;
using Items::ItemTable;
using Items::ItemValue;
using Items::SimulatedSource;

constexpr int8 simulatedCentigrade = 45;

struct SimulatedLed
{
    const char* key;
    LedState state;
    LedColour colour;
    const char* meaning;
};

// A controller that runs without a fault and without a fieldbus.
constexpr SimulatedLed simulatedLeds[] = {
    {"Status.Leds.Runtime.Run", LedState::On, LedColour::Green, "on, green"},
    {"Status.Leds.Runtime.Fail", LedState::Off, LedColour::Red, "off, red"},
    {"Status.Leds.Runtime.Debug", LedState::Off, LedColour::Yellow, "off, yellow"},
    {"Status.Leds.Runtime.Ext", LedState::Off, LedColour::Green, "off, green"},
    {"Status.Leds.Pnio.Bf_C", LedState::Off, LedColour::Red, "off, red"},
    {"Status.Leds.Pnio.Bf_D", LedState::Off, LedColour::Red, "off, red"},
    {"Status.Leds.Pnio.Sf", LedState::Off, LedColour::Red, "off, red"},
    {"Status.Leds.Zelo.D", LedState::Off, LedColour::Green, "off, green"},
    {"Status.Leds.Zelo.E", LedState::Off, LedColour::Red, "off, red"},
    {"Status.Leds.Safety.Run", LedState::Off, LedColour::Green, "off, green"},
    {"Status.Leds.Safety.Fs", LedState::Off, LedColour::Red, "off, red"},
};

std::unique_ptr<IItemSource> MakeFirstFile(const MachineRoot& root,
                                           std::initializer_list<std::string_view> machinePaths)
{
    std::vector<std::unique_ptr<IItemSource>> sources;
    for (const std::string_view path : machinePaths)
    {
        sources.push_back(std::make_unique<Items::FileSource>(
            std::make_shared<Items::KeptFile>(root.Resolve(path)),
            Items::FileSource::Options{.pattern = {}, .refusesPlaceholders = true}));
    }
    return std::make_unique<Items::FirstSource>(std::move(sources));
}

std::unique_ptr<IItemSource> MakeFirmwareVersion(const MachineRoot& root)
{
    std::vector<std::shared_ptr<Items::KeptFile>> files;
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"})
    {
        files.push_back(std::make_shared<Items::KeptFile>(root.Resolve(path)));
    }
    return std::make_unique<Items::OsReleaseSource>(std::move(files),
                                                    std::vector<BasicString>{"PRETTY_NAME", "VERSION", "NAME"});
}

void AddIdentity(ItemTable& table, const MachineRoot& root)
{
    table.Add("General.ArticleName", MakeFirstFile(root, {"/sys/class/dmi/id/product_name", "/proc/device-tree/model",
                                                          "/proc/sys/kernel/hostname", "/etc/hostname"}));
    table.Add("General.ArticleNumber",
              MakeFirstFile(root, {"/sys/class/dmi/id/product_sku", "/sys/class/dmi/id/board_name",
                                   "/proc/device-tree/compatible"}));
    table.Add("General.SerialNumber",
              MakeFirstFile(root, {"/sys/class/dmi/id/product_serial", "/proc/device-tree/serial-number"}));
    table.Add("General.Firmware.Version", MakeFirmwareVersion(root));
    table.Add("General.Hardware.Version",
              MakeFirstFile(root, {"/sys/class/dmi/id/product_version", "/sys/class/dmi/id/board_version"}));
    table.Add("General.Fpga.Version", std::make_unique<Items::AbsentSource>("FPGA"));
    table.Add("General.SPNS.Firmware.Version", std::make_unique<Items::AbsentSource>("safety controller part"));
    table.Add("General.SPNS.Fpga.Version", std::make_unique<Items::AbsentSource>("safety controller part"));
}

std::unique_ptr<IItemSource> MakeUptime(const MachineRoot& root)
{
    if (root.IsRunningMachine())
    {
        return std::make_unique<Items::BootClockSource>();
    }
    return std::make_unique<Items::UptimeFileSource>(root.Resolve("/proc/uptime"));
}

std::unique_ptr<IItemSource> MakeTemperature(const MachineRoot& root)
{
    // Decided once: a sensor that fails later has no value, and never a made-up one.
    auto sensor = FindBoardTemperatureSensor(root);
    if (!sensor)
    {
        return std::make_unique<SimulatedSource>(ItemValue(simulatedCentigrade),
                                                 fmt::format("{} °C", simulatedCentigrade));
    }
    return std::make_unique<Items::TemperatureSource>(std::move(sensor->path), std::move(sensor->name));
}

void AddUtilization(ItemTable& table, const MachineRoot& root, const std::shared_ptr<const Items::CpuLoads>& loads)
{
    using Items::PartitionSource;
    table.Add("Status.Memory.Usage.Percent.Actual",
              std::make_unique<Items::MemorySource>(std::make_shared<Items::MemoryProbe>(root.Resolve("/proc/meminfo")),
                                                    Items::MemorySource::Figure::UsagePercent));

    const auto probe = std::make_shared<Items::PartitionProbe>(root.Resolve("/"));
    table.Add("Status.UserPartition.Total", std::make_unique<PartitionSource>(probe, PartitionSource::Figure::Total));
    table.Add("Status.UserPartition.Usage", std::make_unique<PartitionSource>(probe, PartitionSource::Figure::Usage));
    table.Add("Status.UserPartition.Usage.Percent",
              std::make_unique<PartitionSource>(probe, PartitionSource::Figure::UsagePercent));

    table.Add("Cpu.Cores.Count", std::make_unique<Items::CpuCountSource>(loads));
    for (std::size_t core = 0; core <= loads->GetCoreCount(); ++core)
    {
        table.Add(fmt::format("Status.Cpu.{}.Load.Percent", core), std::make_unique<Items::CpuLoadSource>(loads, core));
    }
}

void AddFrontPanel(ItemTable& table)
{
    for (const SimulatedLed& led : simulatedLeds)
    {
        table.Add(led.key,
                  std::make_unique<SimulatedSource>(ItemValue(MakeLedWord(led.state, led.colour)), led.meaning));
    }
    table.Add("Status.RunStopSwitch.Supported", std::make_unique<SimulatedSource>(ItemValue(true), "true"));
    table.Add("Status.RunStopSwitch.Position", std::make_unique<SimulatedSource>(ItemValue("Run"), "\"Run\""));
}

} // namespace

std::unique_ptr<ItemTable> MakeMachineItems(const MachineRoot& root,
                                            const std::shared_ptr<const Items::CpuLoads>& loads,
                                            const std::shared_ptr<const BootIdentity>& bootIdentity)
{
    auto table = std::make_unique<ItemTable>();
    AddIdentity(*table, root);
    AddUtilization(*table, root, loads);
    AddFrontPanel(*table);
    table->Add("Status.System.UpTime.Seconds", MakeUptime(root));
    table->Add("Status.Board.Temperature.Centigrade", MakeTemperature(root));
    table->Add("Status.System.BootId", std::make_unique<BootIdSource>(bootIdentity));
    return table;
}

} // namespace Oxa::Device::Linux
