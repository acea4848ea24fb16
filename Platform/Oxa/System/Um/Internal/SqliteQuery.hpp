#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::System::Um::Internal
{

class SqliteStatement;

/// One run of a prepared statement; there is at most one at a time. Its end also ends the implicit transaction.
/// A statement that changes something must be run until `Next` says false: only then it is committed.
/// Threads: as the connection. Throws InvalidOperationException with path and cause.
class SqliteQuery final
{
public:
    /// Binds the parameters in their order: texts, which must outlive this, and integers.
    template <class... Parameters>
    explicit SqliteQuery(SqliteStatement& statement, const Parameters&... parameters) : statement(statement)
    {
        int index = 0;
        (Bind(++index, parameters), ...);
    }

    SqliteQuery(const SqliteQuery&) = delete;
    SqliteQuery& operator=(const SqliteQuery&) = delete;
    ~SqliteQuery();

    /// Moves to the next row; false after the last one.
    [[nodiscard]] bool Next();

    /// Passes over all rows. True when there was one.
    bool Finish();

    /// Of the row that it is on. The view is valid until the next call of `Next`; empty for NULL.
    [[nodiscard]] std::string_view GetText(int column) const;
    [[nodiscard]] int64 GetInteger(int column) const;

private:
    void Bind(int index, std::string_view text);
    void Bind(int index, int64 number);
    void Bind(int index, uint32 number);

    SqliteStatement& statement;
};

} // namespace Oxa::System::Um::Internal
