#pragma once

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"

#include <sys/eventfd.h>

#include <cerrno>
#include <system_error>

namespace Oxa::System::Commons::Threading
{

/// Wakes a thread that waits in `poll`. Safe from several threads.
class WakeEvent final
{
public:
    /// Throws InvalidOperationException when the process or the system has no descriptor left.
    WakeEvent() : descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
        if (!descriptor.IsOpen())
        {
            throw InvalidOperationException::Create("cannot create an event descriptor: {0}",
                                                    std::generic_category().message(errno));
        }
    }

    void Set() noexcept
    {
        // Fails only when the counter is at its maximum; then the descriptor is ready already.
        static_cast<void>(eventfd_write(descriptor.Get(), 1));
    }

    /// Undoes `Set`.
    void Clear() noexcept
    {
        eventfd_t count = 0;
        static_cast<void>(eventfd_read(descriptor.Get(), &count));
    }

    /// Ready for POLLIN from `Set` to `Clear`. Valid until the event is destroyed.
    [[nodiscard]] int GetDescriptor() const noexcept
    {
        return descriptor.Get();
    }

private:
    const FileDescriptor descriptor;
};

} // namespace Oxa::System::Commons::Threading
