#pragma once

#include "Device/Items/ItemReading.hpp"
#include "Device/Items/KeptFile.hpp"
#include "Device/Items/RetryPace.hpp"
#include "Device/Items/SensorSearch.hpp"
#include "Device/Items/SteadyClock.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <optional>

namespace Oxa::Device::Linux::Items
{

/// The file of a temperature sensor: looked for at the first read, then kept open. When it can be read no longer, the
/// sensor is looked for again, at most once a second: it may have come back under another number.
/// Threads: safe from several threads; one reads at a time. A read that succeeds allocates nothing.
class SensorFile final
{
public:
    /// Looks for nothing yet.
    SensorFile(SensorAddress address, SteadyClock clock);

    /// Degrees Celsius as a Real64, from a file of millidegrees.
    [[nodiscard]] ItemReading ReadCelsius();

    [[nodiscard]] const SensorAddress& GetAddress() const noexcept;

private:
    [[nodiscard]] ItemReading ReadKept();
    void Search();

    const SensorAddress address;
    const SteadyClock clock;
    System::Commons::Mutex mutex;
    RetryPace pace;
    std::optional<KeptFile> file;
    /// Why there is no file.
    BasicString cause = "not looked for yet";
};

} // namespace Oxa::Device::Linux::Items
