#pragma once

#include "Oxa/Hardware/RealTimeClock/Services/Internal/IRtcService.hpp"
#include "Oxa/System/Commons/NotSupportedException.hpp"

#include <chrono>

namespace Oxa::Device::Linux::Services
{

/// The machine's time of day. Safe from several threads.
class RtcService final : public Hardware::RealTimeClock::Services::Internal::IRtcService
{
public:
    /// Always throws NotSupportedException: the operating system sets the machine's time.
    void WriteDateTime(const Oxa::DateTime& /*dateTime*/) override
    {
        throw System::Commons::NotSupportedException::Create(
            "The real-time clock of this machine cannot be set from here");
    }

    /// The system's clock, kind Utc: also the time of a clock that starts in 1970 because its battery is empty. Zero
    /// ticks only for a time that a DateTime cannot hold.
    [[nodiscard]] Oxa::DateTime ReadDateTime() override
    {
        using namespace std::chrono;
        return Oxa::DateTime::FromUnixTimeMicroseconds(
            duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
    }
};

} // namespace Oxa::Device::Linux::Services
