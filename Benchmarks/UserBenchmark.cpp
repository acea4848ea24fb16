// What every request costs that has a session or an API token: looking its user up.

#include "Oxa/System/Um/UserManager.hpp"

#include <benchmark/benchmark.h>

#include <filesystem>

namespace Oxa::System::Um
{
namespace
{

/// A database with some users, in a folder that is removed in the end.
class Users
{
public:
    Users()
    {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        UserManager::CreateDatabase(path);
        manager.emplace(path);
        for (const char* const name : {"anna", "berta", "clara", "dora", "emma", "frieda", "greta", "hanna"})
        {
            manager->AddUser(name, "some secret words", engineerRole);
        }
    }

    Users(const Users&) = delete;
    Users& operator=(const Users&) = delete;

    ~Users()
    {
        manager.reset();
        std::filesystem::remove_all(folder);
    }

    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "oxa-user-benchmark";
    const BasicString path = (folder / "users.sqlite").string();
    std::optional<UserManager> manager;
};

void LookUpASession(benchmark::State& state)
{
    Users users;
    const SecurityToken token = users.manager->LogIn("hanna", "some secret words").value();
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(users.manager->TryGetUser(token));
    }
}

void LookUpAnApiToken(benchmark::State& state)
{
    Users users;
    const BasicString secret = users.manager->AddApiToken("monitoring", viewerRole, {}, "anna");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(users.manager->TryGetUser(users.manager->LogInWithApiToken(secret).value()));
    }
}

/// After each change of the database by any process.
void ReadTheDatabaseAnew(benchmark::State& state)
{
    Users users;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(UserManager(users.path).GetUsers());
    }
}

BENCHMARK(LookUpASession);
BENCHMARK(LookUpAnApiToken);
BENCHMARK(ReadTheDatabaseAnew);

} // namespace
} // namespace Oxa::System::Um

BENCHMARK_MAIN();
