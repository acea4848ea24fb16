#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/RetryPace.hpp"
#include "Device/Machine/SteadyClock.hpp"
#include "Device/Sources/GpioLine.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <memory>

namespace Oxa::Device::Linux::Sources
{

/// The state of a GPIO line of the running machine, for instance of a run/stop switch: a bool, or a text for each of
/// the two states. The line is requested as an input at the first read and then kept; when that or a read fails, it is
/// requested anew, at most once a second.
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
    [[nodiscard]] Items::ItemReading ReadRequested();
    [[nodiscard]] Items::ItemReading MakeReading(bool isActive) const;
    /// Gives the line back. `action`: what did not work; errno says why.
    void Fail(const char* action);

    const Line line;
    const Machine::SteadyClock clock;
    System::Commons::Mutex mutex;
    Machine::RetryPace pace;
    /// Null when it is not requested.
    std::unique_ptr<GpioLine> requestedLine;
    /// Why it is not.
    BasicString cause = "not requested yet";
};

} // namespace Oxa::Device::Linux::Sources
