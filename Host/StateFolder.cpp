#include "Host/StateFolder.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace Oxa::Host
{

using System::Commons::InvalidOperationException;

StateFolder::StateFolder(BasicString newPath) : path(std::move(newPath))
{
    const auto parent = std::filesystem::absolute(path).parent_path();
    std::error_code error;
    std::filesystem::create_directories(parent, error);
    if (mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST)
    {
        throw InvalidOperationException::Create("cannot make the folder '{0}': {1}", path,
                                                std::generic_category().message(errno));
    }
}

BasicString StateFolder::GetInitialPasswordPath() const
{
    return path + "/initial-password";
}

void StateFolder::WriteInitialPassword(const BasicString& password) const
{
    const BasicString file = GetInitialPasswordPath();
    RemoveInitialPassword();
    const int number = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    const BasicString text = password + '\n';
    const bool isWritten = number >= 0 && write(number, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    const int cause = errno;
    if (number >= 0)
    {
        close(number);
    }
    if (!isWritten)
    {
        throw InvalidOperationException::Create("cannot write '{0}': {1}", file,
                                                std::generic_category().message(cause));
    }
}

void StateFolder::RemoveInitialPassword() const noexcept
{
    unlink((path + "/initial-password").c_str());
}

} // namespace Oxa::Host
