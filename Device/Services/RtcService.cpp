#include "Device/Services/RtcService.hpp"

#include "Oxa/System/Commons/NotSupportedException.hpp"

#include <ctime>
#include <utility>

namespace Oxa::Device::Linux::Services
{

RtcService::RtcService(ReadClockFunction readClock) : readClock(std::move(readClock)) {}

RtcService::~RtcService() = default;

int64 RtcService::ReadSystemClock() noexcept
{
    static_assert(sizeof(std::time_t) == sizeof(int64), "built without times after 2038");
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    return static_cast<int64>(time.tv_sec) * 1'000'000 + time.tv_nsec / 1'000;
}

void RtcService::WriteDateTime(const Oxa::DateTime&)
{
    throw System::Commons::NotSupportedException::Create("The real-time clock of this machine cannot be set from here");
}

Oxa::DateTime RtcService::ReadDateTime()
{
    return Oxa::DateTime::FromUnixTimeMicroseconds(readClock());
}

} // namespace Oxa::Device::Linux::Services
