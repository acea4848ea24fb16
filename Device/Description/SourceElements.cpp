#include "Device/Description/SourceElements.hpp"

#include "Device/Description/FileElements.hpp"
#include "Device/Description/SensorElements.hpp"
#include "Device/Description/SimulatedElement.hpp"
#include "Device/Description/SystemElements.hpp"

#include <algorithm>
#include <iterator>

namespace Oxa::Device::Linux::Description
{

namespace
{

struct SourceElement
{
    std::string_view name;
    ReadSourceFunction read;
};

constexpr SourceElement sourceElements[] = {
    {"absent", &ReadAbsent},
    {"boardtemperature", &ReadBoardTemperature},
    {"cpu", &ReadCpu},
    {"devicetree", &ReadDeviceTree},
    {"dmi", &ReadDmi},
    {"file", &ReadFile},
    {"gpio", &ReadGpio},
    {"hwmon", &ReadHwmon},
    {"led", &ReadLed},
    {"memory", &ReadMemory},
    {"osrelease", &ReadOsRelease},
    {"partition", &ReadPartition},
    {"simulated", &ReadSimulated},
    {"text", &ReadText},
    {"thermal", &ReadThermal},
    {"uptime", &ReadUptime},
};

} // namespace

ReadSourceFunction FindSourceElement(std::string_view name)
{
    const auto* const found = std::find_if(std::begin(sourceElements), std::end(sourceElements),
                                           [name](const SourceElement& element) { return element.name == name; });
    return found == std::end(sourceElements) ? nullptr : found->read;
}

} // namespace Oxa::Device::Linux::Description
