#pragma once

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <sys/types.h>

#include <optional>

namespace Oxa::System::Rsc::Internal
{

/// A listening Unix socket. Owned by the server's loop. Threads: one at a time.
class ServerSocket final
{
public:
    /// Makes one that every user may connect to; the server checks the user of each connection. Replaces a socket at
    /// which no process listens. The destructor removes it, unless another one has taken its place. Throws
    /// InvalidOperationException with path and cause.
    explicit ServerSocket(const BasicString& path);
    /// Takes one over. Throws InvalidOperationException, and closes the descriptor, when it is no listening Unix
    /// socket.
    explicit ServerSocket(System::Commons::FileDescriptor listening);
    ServerSocket(const ServerSocket&) = delete;
    ServerSocket& operator=(const ServerSocket&) = delete;
    ~ServerSocket();

    [[nodiscard]] int GetDescriptor() const noexcept
    {
        return descriptor.Get();
    }

    /// The next connection; none when no peer waits. Throws InvalidOperationException when there is no descriptor left.
    [[nodiscard]] std::optional<System::Commons::FileDescriptor> TryAccept() const;

private:
    struct Identity
    {
        dev_t device;
        ino_t number;

        bool operator==(const Identity&) const = default;
    };

    [[nodiscard]] static std::optional<Identity> TryIdentify(const BasicString& path) noexcept;

    const System::Commons::FileDescriptor descriptor;
    /// Empty when it was taken over.
    const BasicString path;
    std::optional<Identity> identity;
};

} // namespace Oxa::System::Rsc::Internal
