#pragma once

#include "Device/Items/ItemHistories.hpp"
#include "Device/Items/ItemTable.hpp"
#include "Device/Machine/BoundedCalls.hpp"
#include "Oxa/Device/Interface/Services/IDeviceItemService.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <cstddef>
#include <memory>
#include <vector>

namespace Oxa::Device::Linux::Services
{

/// Every item of the table, and for how long its last good value has been the last. That value is one of a read of this
/// service: one that was offered anew knows of none. Nothing is logged: the reader gets the cause. Safe from several
/// threads.
class DeviceItemService final : public Interface::Services::IDeviceItemService
{
public:
    /// Shares both, so that a call under way survives the component's end. Requires: not null.
    DeviceItemService(std::shared_ptr<const Items::ItemTable> items,
                      std::shared_ptr<const Items::ItemHistories> histories,
                      Machine::SteadyClock clock = &Machine::ReadSteadyClock);

    [[nodiscard]] Interface::Services::ItemPage<Interface::Services::DescribedItem>
    ListItems(const BasicString& prefix, const BasicString& after, std::size_t count) override;

    [[nodiscard]] Interface::Services::ItemPage<Interface::Services::ItemState>
    ReadItems(const BasicString& prefix, const BasicString& after, std::size_t count) override;

    [[nodiscard]] Interface::Services::ItemHistory ReadHistory(const BasicString& key, int64 from, int64 to,
                                                               std::size_t points) override;

private:
    /// The last value that was measured.
    struct LastValue
    {
        /// Null: there was none yet.
        std::unique_ptr<Interface::Services::ItemValue> value;
        Machine::SteadyTime time;
    };

    /// Places in `sorted`.
    struct Range
    {
        std::size_t begin = 0;
        std::size_t end = 0;
        bool isCut = false;
    };

    [[nodiscard]] Range Find(const BasicString& prefix, const BasicString& after, std::size_t count) const;
    [[nodiscard]] Interface::Services::ItemState Read(std::size_t place, const Items::ReadPass& pass);
    void KeepLastValue(std::size_t place, const Items::ItemReading& reading);
    /// Changes nothing without a last value, or when it is too old.
    void UseLastValue(std::size_t place, Interface::Services::ItemState& state);

    const std::shared_ptr<const Items::ItemTable> items;
    const std::shared_ptr<const Items::ItemHistories> histories;
    const Machine::SteadyClock clock;
    const std::vector<Items::DeviceItem*> sorted;

    System::Commons::Mutex mutex;
    /// By the place in `sorted`.
    std::vector<LastValue> lastValues OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Device::Linux::Services
