#include "Oxa/System/Commons/TrustedPath.hpp"

#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace Oxa::System::Commons
{

namespace
{

namespace fs = std::filesystem;

constexpr uid_t stranger = 4321;

class TrustedPaths : public testing::Test
{
protected:
    TrustedPaths()
    {
        fs::create_directories(folder.GetPath("above/below"));
        folder.Write("above/below/file", "text");
        Restore();
    }

    void Restore()
    {
        for (const auto& each : fs::recursive_directory_iterator(folder.GetPath()))
        {
            SetMode(each.path(), each.is_directory() ? 0755 : 0644);
            (void)lchown(each.path().c_str(), geteuid(), getegid());
        }
    }

    static void SetMode(const fs::path& path, mode_t mode)
    {
        ASSERT_EQ(chmod(path.c_str(), mode), 0) << path;
    }

    Tests::Support::TemporaryFolder folder;
    const BasicString file = folder.GetPath("above/below/file");
};

} // namespace

TEST_F(TrustedPaths, HaveNoWeaknessWhenOnlyTheirOwnerCanWrite)
{
    EXPECT_EQ(FindPathWeakness(file), std::nullopt);
    EXPECT_EQ(FindPathWeakness(folder.GetPath("above/below/")), std::nullopt);
    EXPECT_EQ(FindPathWeakness(folder.GetPath("above/../above/./below//file")), std::nullopt);
    EXPECT_EQ(FindPathWeakness("/"), std::nullopt);
    EXPECT_EQ(FindPathWeakness("/etc/passwd"), std::nullopt);
}

TEST_F(TrustedPaths, AreWeakWhereOthersCanWrite)
{
    const struct
    {
        const char* changed;
        mode_t mode;
        const char* asked;
        /// Empty: trusted.
        const char* cause;
    } cases[] = {{"above/below/file", 0646, "above/below/file", "can be written by everybody"},
                 {"above/below/file", 0666, "above/below", ""},
                 {"above/below", 0757, "above/below/file", "can be written by everybody"},
                 {"above", 0777, "above/below/file", "can be written by everybody"},
                 {"above", 0777, "above/below/none", "can be written by everybody"},
                 // Others can add to it, but not replace what is in it.
                 {"above", 01777, "above/below/file", ""},
                 {"above/below", 01777, "above/below", "can be written by everybody"},
                 {"above/below", 01777, "above/below/file", ""}};

    for (const auto& each : cases)
    {
        SCOPED_TRACE(testing::Message() << each.changed << " has mode " << std::oct << each.mode);
        Restore();
        SetMode(folder.GetPath(each.changed), each.mode);
        const BasicString expected = "'" + folder.GetPath(each.changed) + "' " + each.cause;
        EXPECT_EQ(FindPathWeakness(folder.GetPath(each.asked)).value_or("trusted"),
                  *each.cause == '\0' ? "trusted" : expected);
    }
}

TEST_F(TrustedPaths, AreWeakWhereAnotherUserIsTheOwner)
{
    if (geteuid() != 0)
    {
        GTEST_SKIP() << "only root can give files away";
    }
    for (const char* const name : {"above", "above/below", "above/below/file"})
    {
        Restore();
        ASSERT_EQ(lchown(folder.GetPath(name).c_str(), stranger, 0), 0);
        EXPECT_EQ(FindPathWeakness(file).value_or("trusted"),
                  "'" + folder.GetPath(name) +
                      "' belongs to the user 4321, neither to root nor to the user 0 of this process");
    }
}

TEST_F(TrustedPaths, MayBeWrittenByTheOwnersPrivateGroupOnly)
{
    SetMode(folder.GetPath("above"), 0775);
    if (geteuid() != 0)
    {
        GTEST_SKIP() << "only root knows its groups";
    }
    EXPECT_EQ(FindPathWeakness(file), std::nullopt) << "the group root has no members";
    ASSERT_EQ(lchown(folder.GetPath("above").c_str(), 0, stranger), 0);
    EXPECT_EQ(FindPathWeakness(file), "'" + folder.GetPath("above") + "' can be written by its group 4321");
}

TEST_F(TrustedPaths, AreCheckedBehindSymbolicLinks)
{
    fs::create_directory(folder.GetPath("links"));
    fs::create_symlink(file, folder.GetPath("links/absolute"));
    fs::create_symlink("../above", folder.GetPath("links/relative"));
    const BasicString absolute = folder.GetPath("links/absolute");
    const BasicString relative = folder.GetPath("links/relative/below/file");
    EXPECT_EQ(FindPathWeakness(absolute), std::nullopt);
    EXPECT_EQ(FindPathWeakness(relative), std::nullopt);

    SetMode(folder.GetPath("above"), 0777);
    const BasicString cause = "'" + folder.GetPath("above") + "' can be written by everybody";
    EXPECT_EQ(FindPathWeakness(absolute), cause);
    EXPECT_EQ(FindPathWeakness(relative), cause);

    SetMode(folder.GetPath("above"), 0755);
    SetMode(folder.GetPath("links"), 0777);
    EXPECT_EQ(FindPathWeakness(absolute), "'" + folder.GetPath("links") + "' can be written by everybody");
}

TEST_F(TrustedPaths, AreWeakWhenTheyCannotBeReached)
{
    fs::create_symlink("circle", folder.GetPath("circle"));
    EXPECT_EQ(FindPathWeakness(folder.GetPath("none/file")),
              "'" + folder.GetPath("none") + "' cannot be checked: No such file or directory");
    EXPECT_EQ(FindPathWeakness(file + "/more"), "'" + file + "/more' cannot be checked: Not a directory");
    EXPECT_EQ(FindPathWeakness(folder.GetPath("circle")),
              "'" + folder.GetPath("circle") + "' cannot be checked: Too many levels of symbolic links");
    EXPECT_NE(FindPathWeakness(""), std::nullopt);
}

TEST_F(TrustedPaths, MayBeMissingWhereOthersCannotCreateThem)
{
    fs::create_symlink(folder.GetPath("above/below/none"), folder.GetPath("dangling"));

    const struct
    {
        mode_t mode;
        const char* asked;
        /// Empty: trusted.
        const char* cause;
    } cases[] = {{0755, "above/below/file", ""},
                 {0755, "above/below/none", ""},
                 {0755, "above/below/none/more", ""},
                 {0755, "above/below/none/../../more", ""},
                 {0755, "dangling", ""},
                 {01777, "above/below/file", ""},
                 {01777, "above/below/none", "' can be written by everybody"},
                 {01777, "above/below/none/more", "' can be written by everybody"},
                 {01777, "dangling", "' can be written by everybody"},
                 {0755, "above/below/file/more", "/file/more' cannot be checked: Not a directory"}};

    for (const auto& [mode, asked, cause] : cases)
    {
        SCOPED_TRACE(testing::Message() << asked << " with mode " << std::oct << mode);
        SetMode(folder.GetPath("above/below"), mode);
        EXPECT_EQ(FindOptionalPathWeakness(folder.GetPath(asked)).value_or("trusted"),
                  *cause == '\0' ? "trusted" : "'" + folder.GetPath("above/below") + cause);
    }
}

} // namespace Oxa::System::Commons
