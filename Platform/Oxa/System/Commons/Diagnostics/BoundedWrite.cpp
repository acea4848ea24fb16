#include "Oxa/System/Commons/Diagnostics/BoundedWrite.hpp"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace Oxa::System::Commons::Diagnostics
{

namespace
{

/// A descriptor that is shared with other processes must not be made non-blocking. A pipe that `poll` calls ready takes
/// this many bytes without blocking, and a socket is told not to block.
ssize_t WriteSome(int descriptor, std::string_view text) noexcept
{
    const std::size_t size = std::min<std::size_t>(text.size(), PIPE_BUF);
    const ssize_t sent = send(descriptor, text.data(), size, MSG_DONTWAIT | MSG_NOSIGNAL);
    return sent < 0 && errno == ENOTSOCK ? write(descriptor, text.data(), size) : sent;
}

} // namespace

bool WriteBounded(int descriptor, std::string_view text, std::chrono::milliseconds patience) noexcept
{
    const int savedError = errno;
    while (!text.empty())
    {
        pollfd polled{descriptor, POLLOUT, 0};
        const int ready = poll(&polled, 1, static_cast<int>(patience.count()));
        const ssize_t written = ready > 0 ? WriteSome(descriptor, text) : ready;
        if (written > 0)
        {
            text.remove_prefix(static_cast<std::size_t>(written));
        }
        else if (written == 0 || errno != EINTR)
        {
            break;
        }
    }
    errno = savedError;
    return text.empty();
}

bool IsJournalStream() noexcept
{
    const char* const stream = std::getenv("JOURNAL_STREAM");
    struct stat status = {};
    if (stream == nullptr || fstat(STDERR_FILENO, &status) != 0)
    {
        return false;
    }
    std::array<char, 64> expected = {};
    std::snprintf(expected.data(), expected.size(), "%ju:%ju", static_cast<uintmax_t>(status.st_dev),
                  static_cast<uintmax_t>(status.st_ino));
    return std::string_view(stream) == expected.data();
}

} // namespace Oxa::System::Commons::Diagnostics
