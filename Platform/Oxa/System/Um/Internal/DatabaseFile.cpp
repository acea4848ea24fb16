#include "Oxa/System/Um/Internal/DatabaseFile.hpp"

#include "Oxa/System/Um/Internal/DatabaseError.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Oxa::System::Um::Internal
{

namespace
{

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

[[noreturn]] void ThrowErrno(const BasicString& path, int error)
{
    throw MakeDatabaseError(path, std::generic_category().message(error));
}

/// False when there is something of that name already.
bool TryCreate(const BasicString& path)
{
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, ownerOnly);
    if (descriptor < 0)
    {
        if (errno == EEXIST)
        {
            return false;
        }
        ThrowErrno(path, errno);
    }
    ::close(descriptor);
    return true;
}

} // namespace

void PrepareDatabaseFile(const BasicString& path)
{
    if (TryCreate(path))
    {
        return;
    }
    // Not opened for a look: closing it would drop the locks that other connections of this process hold on the file.
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
    {
        ThrowErrno(path, errno);
    }
    if (!S_ISREG(status.st_mode))
    {
        throw MakeDatabaseError(path, S_ISDIR(status.st_mode) ? "it is a folder" : "it is no regular file");
    }
    if (::access(path.c_str(), R_OK | W_OK) != 0)
    {
        ThrowErrno(path, errno);
    }
}

} // namespace Oxa::System::Um::Internal
