#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <memory>

struct sqlite3;

namespace Oxa::System::Um::Internal
{

/// One connection to the user database, durable: what has been committed survives a power failure.
/// Threads: one at a time. Throws InvalidOperationException with path and cause.
class SqliteConnection final
{
public:
    /// Requires: the file exists; an empty one is a database without content.
    explicit SqliteConnection(BasicString path);

    /// Runs one or more statements that have neither parameters nor results that matter.
    void Execute(const char* sql);

    /// The same, but says false instead of throwing.
    [[nodiscard]] bool TryExecute(const char* sql) noexcept;

    /// True when the last call on the handle failed because another connection is at work.
    [[nodiscard]] bool IsBusy() const noexcept;

    /// Never null.
    [[nodiscard]] sqlite3* GetHandle() const noexcept;

    /// Throws with the cause of the last failure of a call on the handle.
    [[noreturn]] void ThrowLastError() const;

private:
    struct Closer
    {
        void operator()(sqlite3* connection) const noexcept;
    };

    BasicString path;
    std::unique_ptr<sqlite3, Closer> handle;
};

} // namespace Oxa::System::Um::Internal
