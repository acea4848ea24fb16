#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Rsc/IRscService.hpp"

namespace Oxa::Hardware::RealTimeClock::Services::Internal
{

/// The device's real-time clock. Safe from any thread; a proxy throws RscServiceException when the service cannot be
/// reached.
class OXA_EXPORT IRtcService : public System::Rsc::IRscService
{
public:
    ~IRtcService() override;

    /// Throws NotSupportedException when the clock cannot be set from here.
    virtual void WriteDateTime(const Oxa::DateTime& dateTime) = 0;

    /// Zero ticks when the clock does not know the time.
    [[nodiscard]] virtual Oxa::DateTime ReadDateTime() = 0;
};

} // namespace Oxa::Hardware::RealTimeClock::Services::Internal
