#include "Device/Sources/PartitionSource.hpp"

#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"

#include <gtest/gtest.h>
#include <sys/statfs.h>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Linux::Items;
using namespace Oxa::Device::Linux::Machine;
using namespace Oxa::Device::Linux::Sources;

TEST(ComputingPartitionUsage, RoundsUpAsDfDoes)
{
    struct Case
    {
        uint64 used;
        uint64 available;
        int percent;
    };

    constexpr uint64 most = ~uint64(0);
    for (const auto& [used, available, percent] :
         {Case{0, 100, 0}, Case{1, 999'999, 1}, Case{50, 50, 50}, Case{501, 499, 51}, Case{100, 0, 100}, Case{0, 0, 0},
          Case{most, most, 50}, Case{most, 0, 100}})
    {
        EXPECT_EQ(GetUsedPercent(used, available), percent) << used << " of " << available;
    }
}

TEST(ReadingAPartition, TellsWhatTheKernelTells)
{
    const FakeMachine machine;
    const auto probe = std::make_shared<PartitionProbe>(machine.GetPath("/"));
    const ReadPass pass = ReadPass::Begin();
    const PartitionUsage usage = probe->GetUsage(pass);

    struct statfs large = {};
    large.f_blocks = 1U << 31U;
    large.f_bfree = 1U << 30U;
    large.f_frsize = 4096;
    EXPECT_EQ(MakePartitionUsage(large).totalBytes, uint64(1) << 43U);
    EXPECT_EQ(MakePartitionUsage(large).usedBytes, uint64(1) << 42U);

    EXPECT_GT(usage.totalBytes, 0U);
    EXPECT_LE(usage.usedBytes, usage.totalBytes);
    EXPECT_EQ(ToTypedText(PartitionSource(probe, PartitionProbe::Figure::Total).Read(pass).value),
              "Uint64 " + std::to_string(usage.totalBytes));
    EXPECT_EQ(ToTypedText(PartitionSource(probe, PartitionProbe::Figure::Usage).Read(pass).value),
              "Uint64 " + std::to_string(usage.usedBytes));
    EXPECT_EQ(ToTypedText(PartitionSource(probe, PartitionProbe::Figure::UsagePercent).Read(pass).value),
              "Uint8 " + std::to_string(usage.usedPercent));
}

TEST(ReadingAPartition, AsksOnceAPass)
{
    const auto machine = std::make_unique<FakeMachine>();
    PartitionProbe probe(machine->GetPath("/data"));
    const ReadPass first = ReadPass::Begin();
    EXPECT_EQ(probe.GetUsage(first).error, ENOENT);

    machine->Write("/data/file", "");
    EXPECT_EQ(probe.GetUsage(first).error, ENOENT);
    EXPECT_EQ(probe.GetUsage(ReadPass::Begin()).error, 0);
}

} // namespace Oxa::Tests::Device
