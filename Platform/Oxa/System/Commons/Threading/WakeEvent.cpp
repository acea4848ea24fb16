#include "Oxa/System/Commons/Threading/WakeEvent.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <sys/eventfd.h>

#include <cerrno>
#include <system_error>

namespace Oxa::System::Commons::Threading
{

WakeEvent::WakeEvent() : descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!descriptor.IsOpen())
    {
        throw InvalidOperationException::Create("cannot make an event descriptor: {0}",
                                                std::generic_category().message(errno));
    }
}

WakeEvent::~WakeEvent() = default;

void WakeEvent::Set() noexcept
{
    // Fails only when the counter is at its end; then the descriptor is ready already.
    static_cast<void>(eventfd_write(descriptor.Get(), 1));
}

void WakeEvent::Clear() noexcept
{
    eventfd_t count = 0;
    static_cast<void>(eventfd_read(descriptor.Get(), &count));
}

} // namespace Oxa::System::Commons::Threading
