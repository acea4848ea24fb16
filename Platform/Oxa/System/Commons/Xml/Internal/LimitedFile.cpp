#include "Oxa/System/Commons/Xml/Internal/LimitedFile.hpp"

#include "Oxa/System/Commons/XmlException.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Oxa::System::Commons::Xml::Internal
{

namespace
{

class FileDescriptor final
{
public:
    explicit FileDescriptor(const char* path) noexcept : number(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}

    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    ~FileDescriptor()
    {
        if (number >= 0)
        {
            close(number);
        }
    }

    [[nodiscard]] int Get() const noexcept
    {
        return number;
    }

private:
    int number;
};

[[noreturn]] void ThrowUnreadable(const BasicString& fileName, int errorNumber)
{
    throw XmlException::Create("cannot read '{0}': {1}", fileName, std::generic_category().message(errorNumber));
}

} // namespace

BasicString ReadLimitedFile(const BasicString& fileName, std::size_t maximumBytes)
{
    const FileDescriptor file(fileName.c_str());
    struct stat status = {};
    if (file.Get() < 0 || fstat(file.Get(), &status) != 0)
    {
        ThrowUnreadable(fileName, errno);
    }
    if (!S_ISREG(status.st_mode))
    {
        throw XmlException::Create("cannot read '{0}': it is not a regular file", fileName);
    }
    BasicString text(maximumBytes + 1, '\0');
    std::size_t length = 0;
    while (length < text.size())
    {
        const ssize_t count = read(file.Get(), text.data() + length, text.size() - length);
        if (count < 0)
        {
            ThrowUnreadable(fileName, errno);
        }
        if (count == 0)
        {
            break;
        }
        length += static_cast<std::size_t>(count);
    }
    if (length > maximumBytes)
    {
        throw XmlException::Create("cannot read '{0}': it has more than {1} bytes", fileName, maximumBytes);
    }
    text.resize(length);
    text.shrink_to_fit();
    return text;
}

} // namespace Oxa::System::Commons::Xml::Internal
