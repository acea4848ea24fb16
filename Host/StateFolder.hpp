#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <memory>

namespace Oxa::Host
{

/// The folder of what the host keeps. Throws InvalidOperationException, with path and cause, when it cannot be used.
class StateFolder final
{
public:
    /// Keeps other processes from changing the folder as long as it lives.
    class Lock final
    {
    public:
        explicit Lock(int number) noexcept : number(number) {}

        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        ~Lock();

    private:
        int number;
    };

    /// Makes the folder, for its owner only, when there is none.
    explicit StateFolder(BasicString newPath);

    [[nodiscard]] BasicString GetInitialPasswordPath() const;

    /// Waits for other processes that hold it.
    [[nodiscard]] std::unique_ptr<Lock> TakeLock() const;

    /// Readable by the owner only, from the first moment, and on the disk when this returns. Replaces an earlier one,
    /// at once and as a whole. Requires: the lock.
    void WriteInitialPassword(const BasicString& password) const;

    /// Nothing happens when there is none.
    void RemoveInitialPassword() const noexcept;

private:
    BasicString path;
};

} // namespace Oxa::Host
