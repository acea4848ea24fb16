#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "UserDatabaseTest.hpp"

#include <gmock/gmock.h>
#include <unistd.h>

#include <fstream>

namespace Oxa::System::Um
{
namespace
{

using std::filesystem::perms;
using System::Commons::InvalidOperationException;
using testing::HasSubstr;

BasicString ReadFile(const BasicString& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class OpeningAUserDatabase : public UserDatabaseTest
{
protected:
    [[nodiscard]] static BasicString GetOpenError(const BasicString& databasePath)
    {
        try
        {
            const UserManager users(databasePath);
        }
        catch (const InvalidOperationException& exception)
        {
            return exception.GetMessage();
        }
        return "opened";
    }

    void ExpectRefused(const BasicString& databasePath, const BasicString& cause)
    {
        EXPECT_EQ(GetOpenError(databasePath), "cannot use the user database '" + databasePath + "': " + cause);
    }
};

TEST_F(OpeningAUserDatabase, CreatesItForItsOwnerOnlyWithTheBuiltInRoles)
{
    const UserManager users(path);
    for (const BasicString suffix : {"", "-wal", "-shm"})
    {
        EXPECT_EQ(std::filesystem::status(path + suffix).permissions(), perms::owner_read | perms::owner_write)
            << suffix;
    }
    EXPECT_FALSE(users.HasUsers());
    const std::vector<RoleInfo> roles = {
        {"Admin", {{"*", 0xFFFFFFFF}}}, {"Engineer", {{"oxa.services.wbm/modules/*", 0x1000}}}, {"Viewer", {}}};
    EXPECT_EQ(users.GetRoles(), roles);
}

TEST_F(OpeningAUserDatabase, FindsWhatAnEarlierProcessLeft)
{
    UserManager(path).AddUser("anna", "correct horse", "Engineer");
    UserManager users(path);
    EXPECT_TRUE(users.HasUsers());
    EXPECT_TRUE(users.LogIn("anna", "correct horse"));
}

TEST_F(OpeningAUserDatabase, KeepsPasswordsAsArgon2idHashesOnly)
{
    UserManager(path).AddUser("anna", "correct horse", "Engineer");
    const BasicString content = ReadFile(path) + ReadFile(path + "-wal");
    EXPECT_THAT(content, HasSubstr("$argon2id$v=19$m=19456,t=2,p=1$"));
    EXPECT_EQ(content.find("correct horse"), BasicString::npos);
}

TEST_F(OpeningAUserDatabase, NamesPathAndCauseWhenItCannot)
{
    ExpectRefused((folder / "missing" / "users.db").string(), "No such file or directory");
    ExpectRefused(folder.string(), "it is a folder");
    ExpectRefused("/dev/null", "it is no regular file");
    ExpectRefused("", "No such file or directory");
}

TEST_F(OpeningAUserDatabase, NamesPathAndCauseWhenItMayNot)
{
    if (::geteuid() == 0)
    {
        GTEST_SKIP() << "root may read everything";
    }
    std::ofstream(path).close();
    std::filesystem::permissions(path, perms::none);
    ExpectRefused(path, "Permission denied");
}

TEST_F(OpeningAUserDatabase, LeavesAFileThatIsNoDatabaseAsItIs)
{
    const BasicString content(100'000, 'x');
    std::ofstream(path) << content;
    ExpectRefused(path, "file is not a database");
    EXPECT_EQ(ReadFile(path), content);
}

TEST_F(OpeningAUserDatabase, LeavesTheDatabaseOfAnotherProgramAsItIs)
{
    ExecuteSql("CREATE TABLE songs (title TEXT)");
    const BasicString content = ReadFile(path);
    ExpectRefused(path, "it is a database of another program");
    EXPECT_EQ(ReadFile(path), content);
}

TEST_F(OpeningAUserDatabase, RefusesOneOfANewerVersion)
{
    (void)UserManager(path);
    ExecuteSql("PRAGMA user_version = 2");
    ExpectRefused(path, "its version 2 is newer than version 1, the newest that is known here");
}

TEST_F(OpeningAUserDatabase, TakesAFileThatIsEmpty)
{
    std::ofstream(path).close();
    EXPECT_EQ(GetOpenError(path), "opened");
}

} // namespace
} // namespace Oxa::System::Um
