#include "Device/Commands/RefusalLogLimit.hpp"

#include <mutex>

namespace Oxa::Device::Linux::Commands
{

using Interface::Services::AccessErrorCode;

namespace
{

constexpr std::chrono::minutes periodLength(1);
constexpr unsigned maximumPerPeriod = 10;

} // namespace

RefusalLogLimit::RefusalLogLimit() = default;

RefusalLogLimit::~RefusalLogLimit() = default;

bool RefusalLogLimit::Admits(AccessErrorCode code)
{
    if (code == AccessErrorCode::None || code == AccessErrorCode::TimedOut)
    {
        return true;
    }
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard lock(mutex);
    Period& period = periods[code];
    if (period.count == 0 || now - period.begin >= periodLength)
    {
        period = {now, 0};
    }
    // Stays at the bound, lest a flood makes it begin anew.
    if (period.count == maximumPerPeriod)
    {
        return false;
    }
    ++period.count;
    return true;
}

} // namespace Oxa::Device::Linux::Commands
