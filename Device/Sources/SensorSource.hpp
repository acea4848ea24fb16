#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Device/Machine/RetryPace.hpp"
#include "Device/Machine/SteadyClock.hpp"
#include "Device/Sources/SensorSearch.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <optional>

namespace Oxa::Device::Linux::Sources
{

/// A sensor of the kernel in plain units, as a Real64: looked for at the first read, then its file is kept open. When
/// it can be read no longer, the sensor is looked for again, at most once a second: it may have come back under another
/// number.
/// Threads: safe from several threads; one reads at a time. A read that succeeds allocates nothing.
class SensorSource final : public Items::IItemSource
{
public:
    /// Looks for nothing yet.
    explicit SensorSource(SensorAddress address, Machine::SteadyClock clock = &Machine::ReadSteadyClock);
    ~SensorSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    [[nodiscard]] Items::ItemReading ReadKept(const Items::ReadPass& pass);
    void Search();

    const SensorAddress address;
    const Machine::SteadyClock clock;
    System::Commons::Mutex mutex;
    Machine::RetryPace pace;
    std::optional<Machine::KeptFile> file;
    double unitsPerPlainUnit = 1;
    /// Why there is no file.
    BasicString cause = "not looked for yet";
};

} // namespace Oxa::Device::Linux::Sources
