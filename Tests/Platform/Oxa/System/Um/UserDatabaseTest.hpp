#pragma once

#include "Oxa/System/Um/UserManager.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

namespace Oxa::System::Um
{

using SqliteHandle = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;

/// As another program would open the file that knows it.
inline SqliteHandle OpenDatabase(const BasicString& path)
{
    sqlite3* connection = nullptr;
    const int opened = sqlite3_open(path.c_str(), &connection);
    SqliteHandle handle(connection, &sqlite3_close);
    if (opened != SQLITE_OK)
    {
        throw std::runtime_error(sqlite3_errmsg(connection));
    }
    return handle;
}

inline void ExecuteSql(const SqliteHandle& connection, const char* sql)
{
    if (sqlite3_exec(connection.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
    {
        throw std::runtime_error(sqlite3_errmsg(connection.get()));
    }
}

/// Keeps every writer waiting as long as it lives.
class WriteLock final
{
public:
    explicit WriteLock(const BasicString& path) : connection(OpenDatabase(path))
    {
        ExecuteSql(connection, "BEGIN IMMEDIATE");
    }

private:
    const SqliteHandle connection;
};

/// A test with a folder of its own for a user database.
class UserDatabaseTest : public testing::Test
{
protected:
    void ExecuteSql(const char* sql) const
    {
        Um::ExecuteSql(OpenDatabase(path), sql);
    }

    const Tests::Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("users.db");
};

/// The same with a database.
class UserManagerTest : public UserDatabaseTest
{
protected:
    const bool isCreated = UserManager::CreateDatabase(path);
    UserManager users{path};
    /// Stands for another process: it shares nothing with the first but the file.
    UserManager elsewhere{path};
};

} // namespace Oxa::System::Um
