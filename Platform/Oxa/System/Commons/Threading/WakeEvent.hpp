#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"

namespace Oxa::System::Commons::Threading
{

/// Wakes a thread that waits in `poll`. Threads: safe from several threads.
class OXA_EXPORT WakeEvent final
{
public:
    /// Throws InvalidOperationException when the process or the system has no descriptor left.
    WakeEvent();
    WakeEvent(const WakeEvent&) = delete;
    WakeEvent& operator=(const WakeEvent&) = delete;

    ~WakeEvent();

    void Set() noexcept;

    /// Back to how it was before `Set`.
    void Clear() noexcept;

    /// Ready for POLLIN from `Set` to `Clear`. Valid until the event is destroyed.
    [[nodiscard]] int GetDescriptor() const noexcept
    {
        return descriptor.Get();
    }

private:
    const FileDescriptor descriptor;
};

} // namespace Oxa::System::Commons::Threading
