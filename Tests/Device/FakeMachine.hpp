#pragma once

#include "Device/Machine/MachineRoot.hpp"
#include "Support/TemporaryFolder.hpp"

#include <filesystem>
#include <string_view>

namespace Oxa::Tests::Device
{

/// A machine that is a folder of files, removed with the object.
class FakeMachine final
{
public:
    /// An office PC with four cores, one of them offline, and a hardware monitor beside a disk's.
    void BecomePc()
    {
        Write("/sys/class/dmi/id/product_name", "Compact PC 7\n");
        Write("/sys/class/dmi/id/product_sku", "To Be Filled By O.E.M.\n");
        Write("/sys/class/dmi/id/board_name", "CB-7\n");
        Write("/sys/class/dmi/id/product_serial", "Default string\n");
        Write("/sys/class/dmi/id/product_version", "Not Specified\n");
        Write("/sys/class/dmi/id/board_version", "Rev 2.1\n");
        Write("/etc/os-release", "NAME=Plain\nPRETTY_NAME=\"Plain \\\"Linux\\\" 12\"\n");
        Write("/proc/uptime", "93784.51 300000.00\n");
        Write("/proc/meminfo", "MemTotal:        8000000 kB\nMemFree:  100 kB\nMemAvailable:    6000000 kB\n");
        Write("/proc/stat", "cpu  30 0 30 340 0 0 0 0 0 0\n"
                            "cpu0 10 0 10 180 0 0 0 0 0 0\n"
                            "cpu1 20 0 20 60 0 0 0 0 0 0\n"
                            "cpu3 0 0 0 100 0 0 0 0 0 0\n"
                            "intr 12345 0 0\n");
        Write("/proc/sys/kernel/random/boot_id", "0f6ffb1c-9a1e-4b9c-8d55-2c8a1f0d7e21\n");
        Write("/sys/class/hwmon/hwmon0/name", "nvme\n");
        Write("/sys/class/hwmon/hwmon0/temp1_input", "71000\n");
        Write("/sys/class/hwmon/hwmon10/name", "coretemp\n");
        Write("/sys/class/hwmon/hwmon10/temp1_input", "52500\n");
    }

    /// A single-board computer: device tree, a thermal zone below zero, no DMI.
    void BecomeBoard()
    {
        using namespace std::string_view_literals;
        Write("/proc/device-tree/model", "Board Four Rev 1.2\0"sv);
        Write("/proc/device-tree/compatible", "maker,board-four\0maker,soc9\0"sv);
        Write("/proc/device-tree/serial-number", "10000000abcdef01\0"sv);
        Write("/usr/lib/os-release", "# comment\nNAME='Board OS'\n");
        Write("/proc/uptime", "7.90 20.00\n");
        Write("/proc/stat", "cpu  0 0 0 0 0 0 0 0 0 0\ncpu0 0 0 0 0 0 0 0 0 0 0\n");
        Write("/sys/class/thermal/thermal_zone0/type", "soc-thermal\n");
        Write("/sys/class/thermal/thermal_zone0/temp", "-4600\n");
    }

    /// `path`: as seen on the machine.
    void Write(std::string_view path, std::string_view content) const
    {
        const std::string_view name = path.substr(1);
        std::filesystem::create_directories(std::filesystem::path(GetPath(path)).parent_path());
        folder.Write(name, content);
    }

    /// Puts another file in its place, as an update does.
    void Replace(std::string_view path, std::string_view content) const
    {
        Write(BasicString(path) + ".new", content);
        std::filesystem::rename(GetPath(BasicString(path) + ".new"), GetPath(path));
    }

    [[nodiscard]] BasicString GetPath(std::string_view path) const
    {
        return folder.GetPath() + BasicString(path);
    }

    [[nodiscard]] Oxa::Device::Linux::Machine::MachineRoot GetRoot() const
    {
        return Oxa::Device::Linux::Machine::MachineRoot(folder.GetPath());
    }

private:
    const Support::TemporaryFolder folder;
};

} // namespace Oxa::Tests::Device
