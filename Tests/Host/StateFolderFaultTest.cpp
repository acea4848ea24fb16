#include "Host/StateFolder.hpp"
#include "Oxa/System/Um/UserManager.hpp"
#include "Support/FaultyDisk.hpp"
#include "Tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>

namespace Oxa::Host
{

namespace
{

using System::Um::UserManager;
using Tests::Support::FaultReport;

} // namespace

TEST(FaultsOfTheDisk, LeaveNoInitialUserWithAnUnknownPassword)
{
    const Tests::Support::TemporaryFolder folder;
    const BasicString original = folder.GetPath("original");
    UserManager::CreateDatabase(original);
    const StateFolder state(folder.GetPath("state"));
    const BasicString path = folder.GetPath("state/users.sqlite");

    const auto prepare = [&]
    {
        std::filesystem::remove_all(state.GetPath());
        state.Create();
        std::filesystem::copy_file(original, path);
    };
    const auto createUser = [&](const FaultReport& report)
    {
        UserManager users(path);
        if (state.CreateInitialUser(users))
        {
            report.Acknowledge(0);
        }
    };
    const auto check = [&](const std::vector<std::size_t>& acknowledged)
    {
        UserManager users(path);
        const bool hasUser = users.FindUser("admin").has_value();
        EXPECT_TRUE(hasUser || acknowledged.empty());
        EXPECT_TRUE(!hasUser || users.LogIn("admin", state.ReadInitialPassword()));
        for (const auto& each : std::filesystem::directory_iterator(state.GetPath()))
        {
            EXPECT_EQ(each.status().permissions(),
                      std::filesystem::perms::owner_read | std::filesystem::perms::owner_write)
                << each.path();
        }
    };
    Tests::Support::RunWithEveryFault({prepare, createUser, check});
}

} // namespace Oxa::Host
