#include "Host/Modules/ModuleGate.hpp"

namespace Oxa::Host::Modules
{

bool ModuleGate::IsOpen() const noexcept
{
    const std::lock_guard lock(mutex);
    return isOpen;
}

void ModuleGate::Close() noexcept
{
    const std::lock_guard lock(mutex);
    isOpen = false;
}

void ModuleGate::Open() noexcept
{
    const std::lock_guard lock(mutex);
    isOpen = true;
}

void ModuleGate::WaitUntilEmpty() noexcept
{
    std::unique_lock lock(mutex);
    becameEmpty.wait(lock, [this] { return callsUnderWay == 0; });
}

bool ModuleGate::TryEnter() noexcept
{
    const std::lock_guard lock(mutex);
    if (isOpen)
    {
        ++callsUnderWay;
    }
    return isOpen;
}

void ModuleGate::Leave() noexcept
{
    const std::lock_guard lock(mutex);
    if (--callsUnderWay == 0 && !isOpen)
    {
        becameEmpty.notify_all();
    }
}

} // namespace Oxa::Host::Modules
