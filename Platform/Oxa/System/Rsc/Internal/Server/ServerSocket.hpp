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
    /// Makes one that everybody may connect to: who may stay is decided then. A socket that nobody listens at is
    /// replaced; removed again by the destructor, unless another one has taken its place. Throws
    /// InvalidOperationException with path and cause.
    explicit ServerSocket(const BasicString& path);
    /// Takes one over. Throws InvalidOperationException, and closes it, when it is none.
    explicit ServerSocket(System::Commons::FileDescriptor listening);
    ServerSocket(const ServerSocket&) = delete;
    ServerSocket& operator=(const ServerSocket&) = delete;
    ~ServerSocket();

    [[nodiscard]] int GetDescriptor() const noexcept
    {
        return descriptor.Get();
    }

    /// The next connection; none when nobody waits. Throws InvalidOperationException when there is no descriptor left.
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
