#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace Oxa::System::Commons
{

/// Owns a file descriptor of the process, or none (-1), and closes it in the end. Threads: one at a time.
class FileDescriptor final
{
public:
    FileDescriptor() noexcept = default;

    /// Takes over an open descriptor; what `open` and the like return when they fail is none.
    explicit FileDescriptor(int descriptor) noexcept : descriptor(descriptor) {}

    FileDescriptor(FileDescriptor&& other) noexcept : descriptor(other.Release()) {}

    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        if (this != &other)
        {
            Close();
            descriptor = other.Release();
        }
        return *this;
    }

    ~FileDescriptor()
    {
        Close();
    }

    [[nodiscard]] bool IsOpen() const noexcept
    {
        return descriptor >= 0;
    }

    /// -1 when there is none.
    [[nodiscard]] int Get() const noexcept
    {
        return descriptor;
    }

    /// Gives the ownership away.
    [[nodiscard]] int Release() noexcept
    {
        return std::exchange(descriptor, -1);
    }

    /// Leaves `errno` as it is, so that the cause of a failure can still be told.
    void Close() noexcept
    {
        if (IsOpen())
        {
            const int error = errno;
            close(Release());
            errno = error;
        }
    }

private:
    int descriptor = -1;
};

} // namespace Oxa::System::Commons
