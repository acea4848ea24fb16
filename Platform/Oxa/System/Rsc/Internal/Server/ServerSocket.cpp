#include "Oxa/System/Rsc/Internal/Server/ServerSocket.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::FileDescriptor;
using System::Commons::InvalidOperationException;

namespace
{

constexpr int backlog = 16;
constexpr mode_t allUsers = 0666;

[[noreturn]] void ThrowCannotListen(const BasicString& path, const BasicString& cause)
{
    throw InvalidOperationException::Create("cannot listen at '{0}': {1}", path, cause);
}

/// After a function that sets errno.
void Require(bool isDone, const BasicString& path)
{
    if (!isDone)
    {
        ThrowCannotListen(path, std::generic_category().message(errno));
    }
}

/// Only a socket at which no process listens may be replaced.
void RequireFree(const BasicString& path)
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0)
    {
        Require(errno == ENOENT, path);
        return;
    }
    if (!S_ISSOCK(status.st_mode))
    {
        ThrowCannotListen(path, "the path exists and is no socket");
    }
    const FileDescriptor probe = MakeSocket();
    if (ConnectSocket(probe.Get(), path) == 0 || errno == EAGAIN)
    {
        ThrowCannotListen(path, "another process listens there");
    }
    Require(errno == ECONNREFUSED || errno == ENOENT, path);
}

/// Bound under another name and renamed when it listens, so that a path that exists can be connected to.
[[nodiscard]] FileDescriptor Listen(const BasicString& path)
{
    RequireFree(path);
    FileDescriptor made = MakeSocket();
    const BasicString newPath = path + "." + std::to_string(getpid());
    unlink(newPath.c_str());
    Require(made.IsOpen() && BindSocket(made.Get(), newPath) == 0, path);
    if (chmod(newPath.c_str(), allUsers) != 0 || listen(made.Get(), backlog) != 0 ||
        rename(newPath.c_str(), path.c_str()) != 0)
    {
        const int error = errno;
        unlink(newPath.c_str());
        ThrowCannotListen(path, std::generic_category().message(error));
    }
    return made;
}

[[nodiscard]] int GetOption(int descriptor, int option) noexcept
{
    int value = -1;
    socklen_t size = sizeof value;
    return getsockopt(descriptor, SOL_SOCKET, option, &value, &size) == 0 ? value : -1;
}

[[nodiscard]] FileDescriptor TakeOver(FileDescriptor given)
{
    const int number = given.Get();
    if (GetOption(number, SO_DOMAIN) != AF_UNIX || GetOption(number, SO_TYPE) != SOCK_STREAM ||
        GetOption(number, SO_ACCEPTCONN) != 1)
    {
        throw InvalidOperationException::Create("the descriptor {0} is no listening Unix stream socket", number);
    }
    fcntl(number, F_SETFD, FD_CLOEXEC);
    fcntl(number, F_SETFL, fcntl(number, F_GETFL) | O_NONBLOCK);
    return given;
}

} // namespace

ServerSocket::ServerSocket(const BasicString& path) : descriptor(Listen(path)), path(path), identity(TryIdentify(path))
{
}

ServerSocket::ServerSocket(FileDescriptor listening) : descriptor(TakeOver(std::move(listening))) {}

ServerSocket::~ServerSocket()
{
    if (identity && TryIdentify(path) == identity)
    {
        unlink(path.c_str());
    }
}

std::optional<FileDescriptor> ServerSocket::TryAccept() const
{
    FileDescriptor accepted(accept4(descriptor.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (accepted.IsOpen())
    {
        return accepted;
    }
    if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)
    {
        throw InvalidOperationException::Create("cannot accept a connection at {0}: {1}",
                                                path.empty() ? "the socket passed to the process" : "'" + path + "'",
                                                std::generic_category().message(errno));
    }
    return std::nullopt;
}

std::optional<ServerSocket::Identity> ServerSocket::TryIdentify(const BasicString& path) noexcept
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0)
    {
        return std::nullopt;
    }
    return Identity{status.st_dev, status.st_ino};
}

} // namespace Oxa::System::Rsc::Internal
