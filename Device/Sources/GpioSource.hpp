#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Threading/Backoff.hpp"

#include <chrono>
#include <memory>

namespace Oxa::Device::Linux::Sources
{

/// The state of a GPIO line of the running machine, for instance of a run/stop switch: a bool, or a text for each of
/// the two states. The line is requested as an input at the first read and then kept; after a failure it is requested
/// again, at most once a second.
/// Threads: safe from several threads; one reads at a time.
class GpioSource final : public Items::IItemSource
{
public:
    struct Line
    {
        /// The chip's name, label or path, for instance "gpiochip0", "pinctrl-front" or "/dev/gpiochip0".
        BasicString chip;
        /// The line's name, or its offset in the chip.
        BasicString line;
        bool isActiveLow = false;
        /// What to give for an active and an inactive line; both empty for a bool.
        BasicString activeText;
        BasicString inactiveText;
    };

    explicit GpioSource(Line line, Machine::SteadyClock clock = &Machine::ReadSteadyClock);
    ~GpioSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    /// A line that is requested; released with the object.
    class Request;

    [[nodiscard]] Items::ItemReading MakeReading(bool isActive) const;
    /// Releases the line. `action`: what failed; errno tells the cause.
    [[nodiscard]] Items::ItemReading Fail(const char* action) OXA_REQUIRES(mutex);

    const Line line;
    const Machine::SteadyClock clock;
    System::Commons::Mutex mutex;
    /// Of the requests.
    System::Commons::Threading::Backoff requesting OXA_GUARDED_BY(mutex){std::chrono::seconds(1),
                                                                         std::chrono::seconds(1)};
    /// Null when the line is not requested.
    std::unique_ptr<Request> request OXA_GUARDED_BY(mutex);
    /// Why the line is not requested.
    BasicString cause OXA_GUARDED_BY(mutex) = "not requested yet";
};

} // namespace Oxa::Device::Linux::Sources
