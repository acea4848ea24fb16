#pragma once

#include "Device/Items/ItemReading.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Device/Machine/RetryPace.hpp"
#include "Device/Machine/SteadyClock.hpp"
#include "Device/Sources/SensorSearch.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <optional>

namespace Oxa::Device::Linux::Sources
{

/// The file of a temperature sensor: looked for at the first read, then kept open. When it can be read no longer, the
/// sensor is looked for again, at most once a second: it may have come back under another number.
/// Threads: safe from several threads; one reads at a time. A read that succeeds allocates nothing.
class SensorFile final
{
public:
    /// Looks for nothing yet.
    SensorFile(SensorAddress address, Machine::SteadyClock clock);

    /// Degrees Celsius as a Real64, from a file of millidegrees.
    [[nodiscard]] Items::ItemReading ReadCelsius();

    [[nodiscard]] const SensorAddress& GetAddress() const noexcept;

private:
    [[nodiscard]] Items::ItemReading ReadKept();
    void Search();

    const SensorAddress address;
    const Machine::SteadyClock clock;
    System::Commons::Mutex mutex;
    Machine::RetryPace pace;
    std::optional<Machine::KeptFile> file;
    /// Why there is no file.
    BasicString cause = "not looked for yet";
};

} // namespace Oxa::Device::Linux::Sources
