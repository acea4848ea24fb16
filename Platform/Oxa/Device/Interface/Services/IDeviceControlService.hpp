#pragma once

#include "Oxa/Device/Interface/Services/AccessErrorCode.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscService.hpp"

namespace Oxa::Device::Interface::Services
{

/// Commands to the device. Safe from any thread; a proxy throws RscServiceException when the service cannot be reached.
class OXA_EXPORT IDeviceControlService : public System::Rsc::IRscService
{
public:
    /// The reset kind that brings everything back to the state of delivery.
    static constexpr uint16 resetToFactoryDefault = 1;

    ~IDeviceControlService() override;

    /// Returns as soon as the restart has begun.
    virtual AccessErrorCode Restart() = 0;

    /// Returns when it is certain whether the reset is carried out; a restart follows.
    [[nodiscard]] virtual AccessErrorCode FactoryReset(uint16 resetKind) = 0;
};

} // namespace Oxa::Device::Interface::Services
