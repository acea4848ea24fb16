#pragma once

#include "Oxa/Device/Interface/Services/DeviceItems.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/IRscService.hpp"

namespace Oxa::Device::Interface::Services
{

/// How the device is: items that change while it runs, such as loads, temperatures and LEDs.
/// Safe from any thread. An unknown item is a value of type NotSet, not an error; a proxy throws RscServiceException
/// when the service cannot be reached.
class OXA_EXPORT IDeviceStatusService : public System::Rsc::IRscService
{
public:
    ~IDeviceStatusService() override;

    [[nodiscard]] virtual ItemValue ReadItem(const ItemKey& key) = 0;

    /// Reads many items in one call. What a delegate throws ends the read and is passed on.
    virtual void ReadItems(WriteItemKeysDelegate writeKeys, ReadItemValuesDelegate readValues) = 0;
};

} // namespace Oxa::Device::Interface::Services
