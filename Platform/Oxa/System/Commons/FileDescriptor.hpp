#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace Oxa::System::Commons
{

/// Owns a file descriptor, or none (-1), and closes it when destroyed. Threads: one at a time.
class FileDescriptor final
{
public:
    FileDescriptor() noexcept = default;

    /// Takes ownership of an open descriptor; -1, the result of a failed `open`, means none.
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

    /// -1 for none.
    [[nodiscard]] int Get() const noexcept
    {
        return descriptor;
    }

    /// Hands over the ownership.
    [[nodiscard]] int Release() noexcept
    {
        return std::exchange(descriptor, -1);
    }

    /// Preserves `errno`, so that the cause of an earlier failure can still be reported.
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
