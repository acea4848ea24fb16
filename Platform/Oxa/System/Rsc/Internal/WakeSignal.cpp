#include "Oxa/System/Rsc/Internal/WakeSignal.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Oxa::System::Rsc::Internal
{

WakeSignal::WakeSignal() : descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (descriptor < 0)
    {
        throw System::Commons::InvalidOperationException::Create("cannot watch the services of other processes: {0}",
                                                                 std::generic_category().message(errno));
    }
}

WakeSignal::~WakeSignal()
{
    close(descriptor);
}

void WakeSignal::Wake() noexcept
{
    // Fails only when it is already as high as it goes: then it is ready.
    eventfd_write(descriptor, 1);
}

void WakeSignal::Clear() noexcept
{
    eventfd_t count = 0;
    eventfd_read(descriptor, &count);
}

int WakeSignal::GetDescriptor() const noexcept
{
    return descriptor;
}

} // namespace Oxa::System::Rsc::Internal
