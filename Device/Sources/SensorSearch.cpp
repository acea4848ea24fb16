#include "Device/Sources/SensorSearch.hpp"

#include "Device/Machine/DeviceText.hpp"
#include "Device/Machine/KeptFile.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

namespace
{

constexpr std::string_view inputSuffix = "_input";
constexpr std::string_view labelSuffix = "_label";

/// "coretemp.2" before "coretemp.10".
void SortNaturally(std::vector<BasicString>& paths)
{
    std::sort(paths.begin(), paths.end(),
              [](const BasicString& left, const BasicString& right)
              { return strverscmp(left.c_str(), right.c_str()) < 0; });
}

/// The paths of what lies in a folder under names that begin so; empty when it cannot be read.
std::vector<BasicString> ListFolder(const BasicString& folder, std::string_view prefix)
{
    std::vector<BasicString> paths;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
    {
        if (entry->path().filename().native().starts_with(prefix))
        {
            paths.push_back(entry->path().string());
        }
    }
    return paths;
}

bool HoldsText(const BasicString& path, std::string_view text)
{
    std::array<char, Machine::KeptFile::pageBytes> buffer;
    Machine::KeptFile file(path);
    const Machine::KeptFile::Content content = file.Read(buffer);
    return content.error == 0 && Machine::DeviceText::Trim(content.text) == text;
}

/// The devices of the name, each by its own path.
std::vector<BasicString> FindDevices(const SensorAddress& address)
{
    std::vector<BasicString> devices;
    for (const auto& link : ListFolder(address.classFolder, address.devicePrefix))
    {
        std::error_code error;
        const std::filesystem::path device = std::filesystem::canonical(link, error);
        if (!error && HoldsText(link + '/' + address.nameFile, address.name))
        {
            devices.push_back(device.string());
        }
    }
    SortNaturally(devices);
    return devices;
}

/// Empty when the device has no such label.
BasicString FindLabelledInput(const BasicString& device, std::string_view label)
{
    std::vector<BasicString> files = ListFolder(device, "temp");
    SortNaturally(files);
    for (BasicString& file : files)
    {
        if (file.ends_with(labelSuffix) && HoldsText(file, label))
        {
            return file.replace(file.size() - labelSuffix.size(), labelSuffix.size(), inputSuffix);
        }
    }
    return {};
}

} // namespace

FoundSensor FindSensor(const SensorAddress& address)
{
    const std::vector<BasicString> devices = FindDevices(address);
    if (address.index >= devices.size())
    {
        return {{},
                fmt::format("'{}' has {} of the name '{}', not one of index {}", address.classFolder, devices.size(),
                            address.name, address.index)};
    }
    const BasicString& device = devices[address.index];
    if (!address.inputFile.empty())
    {
        return {device + '/' + address.inputFile, {}};
    }
    BasicString input = FindLabelledInput(device, address.label);
    if (input.empty())
    {
        return {{}, fmt::format("'{}' has no temperature of the label '{}'", device, address.label)};
    }
    return {std::move(input), {}};
}

BasicString DescribeSensor(const SensorAddress& address)
{
    BasicString text = "sensor '" + address.name + "'";
    if (address.index > 0)
    {
        text += fmt::format(" of index {}", address.index);
    }
    return text + (address.inputFile.empty() ? ", label '" + address.label : ", file '" + address.inputFile) + "'";
}

} // namespace Oxa::Device::Linux::Sources
