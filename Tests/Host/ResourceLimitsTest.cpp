#include "Host/ResourceLimits.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <filesystem>

namespace Oxa::Host
{

using testing::HasSubstr;
using Tests::Support::TemporaryFolder;

namespace
{

constexpr uint64 unlimited = ResourceLimits::unlimited;
constexpr uint64 mebibyte = 1024 * 1024;

TEST(FittingConnections, ServesAllWhenTheLimitsAreAtLeastWhatIsNeeded)
{
    const Configuration::HttpConfiguration configured;
    const ResourceLimits needed = GetNeededResources(configured);
    for (const ResourceLimits& limits :
         {ResourceLimits(), needed, ResourceLimits{needed.memoryBytes + 1, needed.descriptors + 1}})
    {
        Configuration::HttpConfiguration http;
        EXPECT_THAT(FitConnections(http, limits), testing::IsEmpty());
        EXPECT_EQ(http.maximumConnections, configured.maximumConnections);
        EXPECT_EQ(http.maximumConnectionsPerAddress, configured.maximumConnectionsPerAddress);
    }
}

TEST(FittingConnections, ServesFewerBelowALimitAndTellsTheNumbers)
{
    Configuration::HttpConfiguration http;
    const ResourceLimits needed = GetNeededResources(http);
    const auto messages = FitConnections(http, {needed.memoryBytes - 1, needed.descriptors - 5 * 156});
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_THAT(messages[0], HasSubstr("255 connections are served instead of 256"));
    EXPECT_EQ(messages[1],
              "the connections need 1344 file descriptors, and the limit is 564: 100 connections are served "
              "instead of 256");
    EXPECT_EQ(http.maximumConnections, 100U);
    EXPECT_EQ(http.maximumConnectionsPerAddress, 75U);
}

TEST(FittingConnections, RefusesALimitThatLeavesNoUse)
{
    for (const ResourceLimits& limits :
         {ResourceLimits{mebibyte, unlimited}, ResourceLimits{unlimited, 64 + 5 * 8 - 1}, ResourceLimits{unlimited, 3}})
    {
        Configuration::HttpConfiguration http;
        EXPECT_THROW((void)FitConnections(http, limits), System::Commons::InvalidOperationException);
    }
    Configuration::HttpConfiguration http;
    EXPECT_EQ(FitConnections(http, {unlimited, 64 + 5 * 8}).size(), 1U);
    EXPECT_EQ(http.maximumConnections, 8U);
}

TEST(FittingConnections, NeedsMoreForMoreBytes)
{
    const Configuration::HttpConfiguration base;
    const auto needs = [&base](auto change)
    {
        Configuration::HttpConfiguration http;
        change(http);
        return static_cast<int64>(GetNeededResources(http).memoryBytes) -
               static_cast<int64>(GetNeededResources(base).memoryBytes);
    };
    EXPECT_EQ(needs([](auto& http) { http.requestLimits.maximumBodyBytes += 10; }), 256 * 10);
    EXPECT_EQ(needs([](auto& http) { http.requestLimits.maximumHeaderBytes += 10; }), 256 * 20);
    EXPECT_EQ(needs([](auto& http) { http.sendBufferBytes += 10; }), 256 * 20);
    EXPECT_EQ(needs([](auto& http) { http.maximumUnsentBytes += 10; }), 20);
    EXPECT_GT(needs([](auto& http) { http.isSecure = true; }), 0);
}

TEST(ReadingResourceLimits, TakesTheLeastMemoryLimitOnTheWayToTheRoot)
{
    const TemporaryFolder folder;
    for (const char* path : {"root/a", "root/a/b", "root/a/b/c"})
    {
        std::filesystem::create_directories(folder.GetPath(path));
    }
    folder.Write("root/a/memory.max", "200\n");
    folder.Write("root/a/b/memory.max", "100\n");
    folder.Write("root/a/b/c/memory.max", "max\n");
    const std::pair<const char*, uint64> cases[] = {{"0::/a/b/c\n", 100},         {"1:memory:/x\n0::/a\n", 200},
                                                    {"0::/\n", unlimited},        {"0::/a/unknown\n", 200},
                                                    {"1:memory:/a\n", unlimited}, {"", unlimited}};
    for (const auto& [text, limit] : cases)
    {
        EXPECT_EQ(ReadResourceLimits(0, folder.Write("cgroup", text), folder.GetPath("root")).memoryBytes, limit)
            << text;
    }
    EXPECT_EQ(ReadResourceLimits(0, folder.GetPath("missing"), folder.GetPath("root")).memoryBytes, unlimited);
}

TEST(ReadingResourceLimits, RaisesTheSoftLimitOfDescriptorsAsFarAsNeeded)
{
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = 100;
    limit.rlim_max = 200;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(ReadResourceLimits(90).descriptors, 100U);
    EXPECT_EQ(ReadResourceLimits(150).descriptors, 150U);
    EXPECT_EQ(ReadResourceLimits(250).descriptors, 200U);
}

} // namespace

} // namespace Oxa::Host
