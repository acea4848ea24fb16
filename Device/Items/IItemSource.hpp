#pragma once

#include "Device/Machine/BoundedCalls.hpp"
#include "Oxa/Device/Interface/Services/DeviceItems.hpp"
#include "Oxa/Device/Interface/Services/IDeviceItemService.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <atomic>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

namespace Oxa::Device::Linux::Items
{

using Interface::Services::ItemOrigin;
using Interface::Services::ItemValue;

/// What a source delivered: a value, or why there is none. A value type; a reading with a value allocates nothing.
struct ItemReading
{
    /// A value holds 512 bytes, one of them for the terminating NUL.
    static constexpr std::size_t maximumTextBytes = 511;

    // A constructor makes this no aggregate: aggregate initialisation would first set all 512 bytes of a text to zero.
    ItemReading(const ItemValue& value, BasicString cause, ItemOrigin origin = ItemOrigin::Measured) noexcept
        : value(value), cause(std::move(cause)), origin(origin)
    {
    }

    /// Of type NotSet when there is a cause.
    ItemValue value;
    BasicString cause;
    /// Of the value.
    ItemOrigin origin;

    template <class T>
    [[nodiscard]] static ItemReading Of(const T& scalar)
    {
        return {ItemValue(scalar), {}};
    }

    /// Text of any bytes and any length: what exceeds a value's capacity is cut off between two characters.
    [[nodiscard]] static ItemReading OfText(std::string_view text);

    [[nodiscard]] static ItemReading Missing(BasicString cause)
    {
        return {ItemValue(), std::move(cause)};
    }

    [[nodiscard]] bool HasValue() const noexcept
    {
        return value.GetType() != System::Rsc::RscType::NotSet;
    }
};

/// One read of one or several items that belong together. Sources that share a snapshot of the machine take it once per
/// pass, and all of them together wait for files that hang no longer than one budget allows, except for the first slow
/// read of a driver. A value type; a copy stands for the same pass.
class ReadPass final
{
public:
    /// A pass that no other equals. Safe from any thread.
    [[nodiscard]] static ReadPass Begin() noexcept
    {
        static std::atomic<uint64> lastNumber = 0;
        return ReadPass(lastNumber.fetch_add(1, std::memory_order_relaxed) + 1);
    }

    bool operator==(const ReadPass& other) const noexcept
    {
        return number == other.number;
    }

    /// Threads: the one that reads in this pass.
    [[nodiscard]] Machine::WaitBudget& GetWaitBudget() const noexcept
    {
        return waitBudget;
    }

private:
    explicit ReadPass(uint64 number) noexcept : number(number) {}

    uint64 number;
    mutable Machine::WaitBudget waitBudget;
};

/// When the values of a source are made up, because the machine has nothing to read them from.
enum class Simulation
{
    Never,
    /// As long as the machine gives no value.
    AsFallback,
    Always
};

/// Where the value of one item comes from. Owned by the item.
/// Threads: safe from several threads. A failure of the machine is a reading without a value, never an exception.
class IItemSource
{
public:
    virtual ~IItemSource();

    [[nodiscard]] virtual ItemReading Read(const ReadPass& pass) = 0;

    /// For logs, for instance "file /proc/uptime" or "simulated: constant 45 °C".
    [[nodiscard]] virtual BasicString Describe() const = 0;

    [[nodiscard]] virtual Simulation GetSimulation() const noexcept;

    /// Where values come from; of several sources, that of the first which the device has.
    [[nodiscard]] virtual ItemOrigin GetOrigin() const noexcept;
};

/// One figure of a probe, which several sources share so that their figures fit together. Safe from any thread.
template <class TProbe>
class ProbeSource final : public IItemSource
{
public:
    using Figure = typename TProbe::Figure;

    /// Requires: `probe` is not null.
    ProbeSource(std::shared_ptr<TProbe> probe, Figure figure) : probe(std::move(probe)), figure(figure) {}

    [[nodiscard]] ItemReading Read(const ReadPass& pass) override
    {
        return probe->Read(figure, pass);
    }

    [[nodiscard]] BasicString Describe() const override
    {
        return probe->Describe(figure);
    }

private:
    const std::shared_ptr<TProbe> probe;
    const Figure figure;
};

} // namespace Oxa::Device::Linux::Items
