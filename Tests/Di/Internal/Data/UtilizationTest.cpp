#include "Di/Internal/Data/Utilization.hpp"

#include "Di/Internal/Data/SectionSupport.hpp"
#include "Support/FakeDevice.hpp"
#include "Support/LogRecorder.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <tuple>

namespace
{

using namespace Oxa;
using namespace Oxa::Tests::Support;
using Oxa::Services::Modules::Wbm::Di::Internal::Data::Utilization;
using Oxa::System::Commons::Diagnostics::Logging::LogLevel;
using Oxa::Tests::Di::WriteToJson;

constexpr const char* untouched =
    R"({"Utilization":{"memoryUsagePercent":0,"userPartitionTotal":0,"userPartitionUsage":0,)"
    R"("userPartitionUsagePercent":0,"cpuCoresCount":0,"cpuLoadTotal":0,"cpuCoresLoad":[]}})";

constexpr const char* healthy =
    R"({"Utilization":{"memoryUsagePercent":37,"userPartitionTotal":4000000000,"userPartitionUsage":1000000000,)"
    R"("userPartitionUsagePercent":25,"cpuCoresCount":4,"cpuLoadTotal":10,"cpuCoresLoad":[11,12,13,14]}})";

BasicString Replace(BasicString text, const BasicString& part, const BasicString& other)
{
    return text.replace(text.find(part), part.size(), other);
}

/// A section with a device of its own.
struct UtilizationBench
{
    explicit UtilizationBench(uint8 coresCount)
    {
        device.SetInfo("Cpu.Cores.Count", coresCount);
        for (unsigned core = 0; core <= coresCount; ++core)
        {
            device.SetStatus(fmt::format("Status.Cpu.{}.Load.Percent", core), static_cast<uint8>(10 + core));
        }
    }

    FakeDevice device;
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService> statusService = device.statusService;
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceInfoService> infoService = device.infoService;
    Utilization section{"Utilization", statusService, infoService};
};

/// All tests in this process use four cores: the first update fixes the number for the life of the process. Whatever
/// needs another first update runs in a process of its own.
class ReadingUtilization : public testing::Test
{
protected:
    LogRecorder log;
    UtilizationBench bench{4};
};

class FirstUpdateOfAProcess : public testing::Test
{
protected:
    FirstUpdateOfAProcess()
    {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
};

TEST_F(ReadingUtilization, LearnsTheNumberOfCoresAtSetUpAndReadsTheValuesOfDeviceAndCores)
{
    bench.section.Setup();
    EXPECT_EQ(WriteToJson(bench.section), Replace(untouched, R"("cpuCoresCount":0)", R"("cpuCoresCount":4)"));
    EXPECT_EQ(log.GetEntries(), (std::vector<LogRecorder::Entry>{
                                    {LogLevel::Debug, "Oxa::Services::Modules::Wbm::Di::Internal::Data::Utilization",
                                     "CPU cores count: 4"}}));
    bench.section.Setup();
    EXPECT_TRUE(bench.device.status.GetReadKeys().empty());
    EXPECT_TRUE(bench.section.UpdateData());
    EXPECT_EQ(WriteToJson(bench.section), healthy);
    EXPECT_EQ(bench.device.status.GetReadKeys().size(), 9U) << "once each, however often it was set up";
    EXPECT_EQ(bench.device.status.GetReadKeys().back(), "Status.Cpu.4.Load.Percent");
}

TEST_F(ReadingUtilization, FailsForEachValueOfAnotherTypeAndConvertsAllOthers)
{
    bench.section.Setup();
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"Memory.Usage.Percent.Actual", ":37,", ":255,"},
        {"UserPartition.Total", ":4000000000,", ":18446744073709551615,"},
        {"UserPartition.Usage", ":1000000000,", ":18446744073709551615,"},
        {"UserPartition.Usage.Percent", ":25,", ":255,"},
        {"Cpu.0.Load.Percent", ":10,", ":255,"},
        {"Cpu.1.Load.Percent", "[11,", "[255,"},
        {"Cpu.4.Load.Percent", ",14]", ",255]"},
    };
    for (const auto& [name, text, failure] : cases)
    {
        const BasicString key = BasicString("Status.") + name;
        const auto kept = bench.device.status.values.at(key);
        bench.device.SetStatus(key, uint16{1});
        EXPECT_FALSE(bench.section.UpdateData()) << key;
        EXPECT_EQ(WriteToJson(bench.section), Replace(healthy, text, failure));
        bench.device.status.values.insert_or_assign(key, kept);
    }
}

TEST_F(ReadingUtilization, ChangesNothingWhenTheNumberOfResultsIsWrong)
{
    bench.section.Setup();
    EXPECT_TRUE(bench.section.UpdateData());
    bench.device.SetStatus("Status.Memory.Usage.Percent.Actual", uint8{99});
    for (const int extraResults : {-2, 1})
    {
        bench.device.status.extraResults = extraResults;
        EXPECT_FALSE(bench.section.UpdateData());
        EXPECT_EQ(WriteToJson(bench.section), healthy);
        EXPECT_EQ(log.GetEntries().back().level, LogLevel::Warning);
        EXPECT_EQ(log.GetEntries().back().message,
                  "Failed to get device general data. Size missmatch error. Expected: 9, Result: " +
                      std::to_string(9 + extraResults));
    }
}

TEST_F(ReadingUtilization, KeepsItsValuesAndReadsNothingWithoutCores)
{
    bench.section.Setup();
    EXPECT_TRUE(bench.section.UpdateData());
    bench.device.SetInfo("Cpu.Cores.Count", uint8{0});
    bench.section.Setup();
    const auto keysBefore = bench.device.status.GetReadKeys();
    EXPECT_FALSE(bench.section.UpdateData());
    EXPECT_EQ(WriteToJson(bench.section), Replace(healthy, R"("cpuCoresCount":4)", R"("cpuCoresCount":0)"));
    EXPECT_EQ(bench.device.status.GetReadKeys(), keysBefore);
}

TEST_F(ReadingUtilization, ReadsNothingWithoutTheService)
{
    bench.infoService.reset();
    bench.section.Setup();
    EXPECT_EQ(WriteToJson(bench.section), untouched);
    EXPECT_TRUE(log.GetEntries().empty());
}

/// Runs in a fresh process: updates a first section, then a second one, and says what came of the second.
[[noreturn]] void UpdateOneAfterTheOther(uint8 firstCoresCount, bool isFirstSetUp, uint8 secondCoresCount)
{
    {
        UtilizationBench first(firstCoresCount);
        if (isFirstSetUp)
        {
            first.section.Setup();
        }
        static_cast<void>(first.section.UpdateData());
    }
    UtilizationBench second(secondCoresCount);
    second.section.Setup();
    try
    {
        const bool isUpdated = second.section.UpdateData();
        std::fprintf(stderr, "%s %s", isUpdated ? "updated" : "failed", WriteToJson(second.section).c_str());
    }
    catch (const std::out_of_range&)
    {
        std::fputs("out of range", stderr);
    }
    std::_Exit(0);
}

TEST_F(FirstUpdateOfAProcess, FixesTheNumberOfCoreLoadsForAllLaterSections)
{
    EXPECT_EXIT(UpdateOneAfterTheOther(2, true, 4), testing::ExitedWithCode(0),
                R"(updated .*"cpuCoresCount":4,.*"cpuCoresLoad":\[11,12\])");
    EXPECT_EXIT(UpdateOneAfterTheOther(4, true, 2), testing::ExitedWithCode(0), "out of range");
    EXPECT_EXIT(UpdateOneAfterTheOther(4, false, 4), testing::ExitedWithCode(0), R"(updated .*"cpuCoresLoad":\[\])");
}

/// Runs in a fresh process: sets a section up and updates it once, and says what it read, logged and would write.
template <class T>
[[noreturn]] void UpdateOnce(T coresCount)
{
    const LogRecorder log;
    UtilizationBench bench(4);
    bench.device.SetInfo("Cpu.Cores.Count", coresCount);
    bench.section.Setup();
    const bool isUpdated = bench.section.UpdateData();
    const auto& keys = bench.device.status.GetReadKeys();
    const auto entries = log.GetEntries();
    fmt::print(stderr, "{} {} [{}] {} {} {} {}", isUpdated ? "updated" : "failed", keys.size(),
               keys.empty() ? "" : keys.back(), entries.size(), static_cast<int>(entries.back().level),
               entries.back().message, WriteToJson(bench.section));
    std::_Exit(0);
}

TEST_F(FirstUpdateOfAProcess, ReadsNothingForNoCoresAndGoesOnWith255WhenTheirNumberCannotBeRead)
{
    EXPECT_EXIT(UpdateOnce(uint8{0}), testing::ExitedWithCode(0),
                testing::HasSubstr("failed 0 [] 1 7 CPU cores count: 0 " + BasicString(untouched)));
    EXPECT_EXIT(
        UpdateOnce(uint32{4}), testing::ExitedWithCode(0),
        testing::AllOf(
            testing::HasSubstr("failed 260 [Status.Cpu.255.Load.Percent] 1 7 Failed to get CPU cores count {"),
            testing::HasSubstr(R"("cpuCoresCount":255,"cpuLoadTotal":10,"cpuCoresLoad":[11,12,13,14,255,255)")));
}

} // namespace
