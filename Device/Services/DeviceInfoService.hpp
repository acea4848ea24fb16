#pragma once

#include "Device/Items/ItemTable.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"

#include <memory>

namespace Oxa::Device::Linux::Services
{

/// What the device is. Answers for every item of the table. Safe from several threads.
class DeviceInfoService final : public Interface::Services::IDeviceInfoService
{
public:
    /// Shares the table, so that a call under way survives the component's end. Requires: not null.
    explicit DeviceInfoService(std::shared_ptr<const Items::ItemTable> items);
    ~DeviceInfoService() override;

    [[nodiscard]] Interface::Services::ItemValue ReadItem(const Interface::Services::ItemKey& key) override;

    /// Throws ArgumentException for more than `maximumItemsPerRead` keys.
    void ReadItems(Interface::Services::WriteItemKeysDelegate writeKeys,
                   Interface::Services::ReadItemValuesDelegate readValues) override;

private:
    const std::shared_ptr<const Items::ItemTable> items;
};

} // namespace Oxa::Device::Linux::Services
