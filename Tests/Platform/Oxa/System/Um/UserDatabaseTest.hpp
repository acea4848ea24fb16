#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace Oxa::System::Um
{

/// A test with a folder of its own for a user database.
class UserDatabaseTest : public testing::Test
{
protected:
    UserDatabaseTest()
    {
        BasicString pattern = (std::filesystem::temp_directory_path() / "oxa-um-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr)
        {
            throw std::runtime_error("cannot make a folder like " + pattern);
        }
        folder = pattern;
        path = (folder / "users.db").string();
    }

    ~UserDatabaseTest() override
    {
        std::filesystem::remove_all(folder);
    }

    /// As another program would that knows the file.
    void ExecuteSql(const char* sql) const
    {
        sqlite3* connection = nullptr;
        const int opened = sqlite3_open(path.c_str(), &connection);
        const std::unique_ptr<sqlite3, int (*)(sqlite3*)> owner(connection, &sqlite3_close);
        if (opened != SQLITE_OK || sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        {
            throw std::runtime_error(sqlite3_errmsg(connection));
        }
    }

    std::filesystem::path folder;
    BasicString path;
};

} // namespace Oxa::System::Um
