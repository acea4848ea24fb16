#pragma once

#include <mutex>

namespace Oxa::System::Commons
{

/// The platform's lock: not recursive, constant-initialised, used through std::lock_guard and std::unique_lock.
using Mutex = std::mutex;

} // namespace Oxa::System::Commons
