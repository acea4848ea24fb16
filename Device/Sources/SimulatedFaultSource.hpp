#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/IWaiter.hpp"

#include <atomic>
#include <chrono>
#include <memory>

namespace Oxa::Device::Linux::Sources
{

/// A source that goes wrong on purpose, so that its readers can be tested with it. Safe from any thread; no lock.
class SimulatedFaultSource final : public Items::IItemSource
{
public:
    enum class Kind
    {
        /// The value comes late.
        Delay,
        /// A text instead of anything else, and a Real64 instead of a text; no item makes its own type of it.
        WrongType,
        NotSet,
        /// The connection that the read came over is closed instead of answered. In the own process: no value.
        DroppedConnection
    };

    struct Fault
    {
        Kind kind = Kind::NotSet;
        /// Of a delay.
        std::chrono::milliseconds delay = {};
        /// Only each n-th read goes wrong; at least 1.
        uint64 every = 1;
    };

    /// Throws ArgumentException when `every` is 0. Who cancels the waiter ends delays at once, present and later.
    /// Requires: no pointer is null.
    SimulatedFaultSource(std::unique_ptr<Items::IItemSource> source, const Fault& fault,
                         std::shared_ptr<Machine::IWaiter> waiter);
    ~SimulatedFaultSource() override;

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;
    [[nodiscard]] bool IsSimulated() const noexcept override;

private:
    [[nodiscard]] bool IsFaultyNow() noexcept;

    const std::unique_ptr<Items::IItemSource> source;
    const Fault fault;
    const std::shared_ptr<Machine::IWaiter> waiter;
    std::atomic<uint64> readCount = 0;
};

} // namespace Oxa::Device::Linux::Sources
