#include "Device/Commands/StopEvent.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Oxa::Device::Linux::Commands
{

StopEvent::StopEvent() : descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (descriptor < 0)
    {
        throw System::Commons::InvalidOperationException::Create("cannot make an event: {0}",
                                                                 std::generic_category().message(errno));
    }
}

StopEvent::~StopEvent()
{
    close(descriptor);
}

void StopEvent::Set() noexcept
{
    // Fails only when the counter is at its end; then it is readable already.
    static_cast<void>(eventfd_write(descriptor, 1));
}

} // namespace Oxa::Device::Linux::Commands
