#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Oxa::Tests::Support
{

/// A new Unix socket that `attach`, bind or connect, has given the path. Its owner closes it; -1 when there can be
/// none.
inline int MakeUnixSocket(int (*attach)(int, const sockaddr*, socklen_t), const BasicString& path,
                          int type = SOCK_STREAM)
{
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int made = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    if (attach(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
    {
        return made;
    }
    close(made);
    return -1;
}

/// The same, listening.
inline int ListenAt(const BasicString& path)
{
    const int made = MakeUnixSocket(&bind, path);
    return listen(made, 32) == 0 ? made : -1;
}

} // namespace Oxa::Tests::Support
