#pragma once

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Host
{

/// The folder of what the host keeps. When it cannot be used: throws, with path and cause, TemporaryException for a
/// cause that may pass, else InvalidOperationException.
class StateFolder final
{
public:
    explicit StateFolder(BasicString newPath);

    /// Makes the folder, for its owner only, when there is none.
    void Create() const;

    [[nodiscard]] const BasicString& GetPath() const noexcept
    {
        return path;
    }

    [[nodiscard]] const BasicString& GetInitialPasswordPath() const noexcept
    {
        return initialPasswordPath;
    }

    /// Keeps other processes from changing the folder until the result is closed. Waits for those that hold it.
    [[nodiscard]] System::Commons::FileDescriptor TakeLock() const;

    /// Readable by the owner only, from the first moment, and on the disk when this returns. Replaces an earlier one,
    /// at once and as a whole. Requires: the lock.
    void WriteInitialPassword(const BasicString& password) const;

    /// Empty when it is no longer kept, or not for this user.
    [[nodiscard]] BasicString ReadInitialPassword() const;

    /// Nothing happens when there is none.
    void RemoveInitialPassword() const noexcept;

private:
    const BasicString path;
    const BasicString initialPasswordPath;
};

} // namespace Oxa::Host
