#include "Device/Commands/RefusalLogLimits.hpp"

#include <mutex>

namespace Oxa::Device::Linux::Commands
{

using Interface::Services::AccessErrorCode;

RefusalLogLimits::RefusalLogLimits() = default;

RefusalLogLimits::~RefusalLogLimits() = default;

bool RefusalLogLimits::Admits(AccessErrorCode code)
{
    if (code == AccessErrorCode::None || code == AccessErrorCode::TimedOut)
    {
        return true;
    }
    const std::lock_guard lock(mutex);
    return limits[code].Admits();
}

} // namespace Oxa::Device::Linux::Commands
