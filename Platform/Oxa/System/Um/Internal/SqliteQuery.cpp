#include "Oxa/System/Um/Internal/SqliteQuery.hpp"

#include "Oxa/System/Um/Internal/SqliteConnection.hpp"
#include "Oxa/System/Um/Internal/SqliteStatement.hpp"

#include <sqlite3.h>

namespace Oxa::System::Um::Internal
{

SqliteQuery::~SqliteQuery()
{
    sqlite3_reset(statement.GetHandle());
    sqlite3_clear_bindings(statement.GetHandle());
}

bool SqliteQuery::Next()
{
    switch (sqlite3_step(statement.GetHandle()))
    {
    case SQLITE_ROW:
        return true;
    case SQLITE_DONE:
        return false;
    default:
        statement.GetConnection().ThrowLastError();
    }
}

bool SqliteQuery::Finish()
{
    bool hadRow = false;
    while (Next())
    {
        hadRow = true;
    }
    return hadRow;
}

std::string_view SqliteQuery::GetText(int column) const
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement.GetHandle(), column));
    const int size = sqlite3_column_bytes(statement.GetHandle(), column);
    return text != nullptr ? std::string_view(text, static_cast<std::size_t>(size)) : std::string_view();
}

int64 SqliteQuery::GetInteger(int column) const
{
    return sqlite3_column_int64(statement.GetHandle(), column);
}

void SqliteQuery::Bind(int index, std::string_view text)
{
    if (sqlite3_bind_text64(statement.GetHandle(), index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8) !=
        SQLITE_OK)
    {
        statement.GetConnection().ThrowLastError();
    }
}

void SqliteQuery::Bind(int index, int64 number)
{
    if (sqlite3_bind_int64(statement.GetHandle(), index, number) != SQLITE_OK)
    {
        statement.GetConnection().ThrowLastError();
    }
}

void SqliteQuery::Bind(int index, uint32 number)
{
    Bind(index, static_cast<int64>(number));
}

} // namespace Oxa::System::Um::Internal
