#pragma once

#include "Oxa/Hardware/RealTimeClock/Services/Internal/IRtcService.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <functional>

namespace Oxa::Device::Linux::Services
{

/// The machine's time of day. Safe from several threads.
class RtcService final : public Hardware::RealTimeClock::Services::Internal::IRtcService
{
public:
    /// Microseconds since 1970-01-01, UTC. Must be safe from several threads.
    using ReadClockFunction = std::function<int64()>;

    /// Requires: the function has a target.
    explicit RtcService(ReadClockFunction readClock);
    ~RtcService() override;

    /// CLOCK_REALTIME.
    [[nodiscard]] static int64 ReadSystemClock() noexcept;

    /// Always throws NotSupportedException: the machine's time is the operating system's business.
    void WriteDateTime(const Oxa::DateTime& dateTime) override;

    /// What the clock says, kind Utc: also the time of a clock that starts in 1970 because its battery is empty. Zero
    /// ticks only for a time that a DateTime cannot hold.
    [[nodiscard]] Oxa::DateTime ReadDateTime() override;

private:
    const ReadClockFunction readClock;
};

} // namespace Oxa::Device::Linux::Services
