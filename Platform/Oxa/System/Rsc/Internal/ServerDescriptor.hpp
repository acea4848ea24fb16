#pragma once

#include <unistd.h>

#include <utility>

namespace Oxa::System::Rsc::Internal
{

/// Owns a descriptor of the server's; -1: none. Threads: one at a time.
class ServerDescriptor final
{
public:
    explicit ServerDescriptor(int descriptor = -1) noexcept : descriptor(descriptor) {}

    ServerDescriptor(ServerDescriptor&& other) noexcept : descriptor(other.Release()) {}

    ServerDescriptor& operator=(ServerDescriptor&&) = delete;

    ~ServerDescriptor()
    {
        if (descriptor >= 0)
        {
            close(descriptor);
        }
    }

    [[nodiscard]] int Get() const noexcept
    {
        return descriptor;
    }

    [[nodiscard]] int Release() noexcept
    {
        return std::exchange(descriptor, -1);
    }

private:
    int descriptor;
};

} // namespace Oxa::System::Rsc::Internal
