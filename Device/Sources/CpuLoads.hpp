#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

/// How a processor spent its time since boot, in the kernel's ticks. Waiting for input or output counts as idle.
struct CpuTimes
{
    uint64 total = 0;
    uint64 idle = 0;

    bool operator==(const CpuTimes&) const = default;
};

/// One line of /proc/stat about a processor.
struct CpuLine
{
    /// Not set: all processors together.
    std::optional<uint32> number;
    CpuTimes times;
};

/// "cpu3 10 0 20 70 …"; not set for every other line, and for one that is damaged.
[[nodiscard]] std::optional<CpuLine> ParseCpuLine(std::string_view line) noexcept;

/// The share of the time between two readings that a processor was busy, in percent, rounded to the nearest. 0 when no
/// time has passed or all of it went backwards.
[[nodiscard]] uint8 GetLoadPercent(const CpuTimes& before, const CpuTimes& after) noexcept;

/// The numbers in a list like "0-3,6", at most `maximumCount` of them; empty when the list is damaged.
[[nodiscard]] std::vector<uint32> ParseCpuList(std::string_view list, std::size_t maximumCount);

/// The load of every processor core over the last sampling period; until the first period is over, the mean since boot.
/// The set of cores is fixed when the object is made: those that are online then, at most 255, numbered from 1 in the
/// order of their numbers. One that goes offline has load 0. Threads: safe from several threads; reading takes no lock.
/// Shared by the sampler and the sources.
class CpuLoads final
{
public:
    /// A core from 1; 0 for all cores together.
    using Figure = std::size_t;

    static constexpr std::size_t maximumCoreCount = 255;

    /// Takes the first sample. `statPath`: a file like /proc/stat; `onlinePath`: a list of processors, read when the
    /// first file cannot be read.
    CpuLoads(BasicString statPath, const BasicString& onlinePath,
             Machine::SteadyClock clock = &Machine::ReadSteadyClock);

    /// Ends the period that began with the last sample.
    void Sample();

    /// 0 when the machine reports no cores.
    [[nodiscard]] uint8 GetCoreCount() const noexcept;

    /// Percent. Not set when the last sample could not be read or there is no such core.
    [[nodiscard]] std::optional<uint8> GetPercent(Figure core) const noexcept;

    /// Why there is no load.
    [[nodiscard]] BasicString GetCause() const;

    /// The load of the core in percent, as an unsigned 8-bit number.
    [[nodiscard]] Items::ItemReading Read(Figure core, const Items::ReadPass& pass) const;
    [[nodiscard]] BasicString Describe(Figure core) const;

    [[nodiscard]] const BasicString& GetPath() const noexcept;

private:
    static constexpr std::size_t slotCount = maximumCoreCount + 1;
    static constexpr uint8 unknownPercent = 255;

    [[nodiscard]] std::vector<CpuLine> ReadLines() OXA_REQUIRES(mutex);
    [[nodiscard]] std::size_t FindSlot(const CpuLine& line) const noexcept;

    Machine::KeptFile file;
    /// Ascending, as the kernel numbers them.
    std::vector<uint32> coreNumbers;
    std::array<std::atomic<uint8>, slotCount> percents;
    std::atomic<int> error = 0;

    System::Commons::Mutex mutex;
    std::vector<char> buffer OXA_GUARDED_BY(mutex);
    /// Everything that has happened since boot is the first period.
    std::array<CpuTimes, slotCount> previous OXA_GUARDED_BY(mutex) = {};
};

using CpuLoadSource = Items::ProbeSource<const CpuLoads>;

/// How many cores there are loads of, as an unsigned 8-bit number. Safe from any thread.
class CpuCountSource final : public Items::IItemSource
{
public:
    /// Requires: `loads` is not null.
    explicit CpuCountSource(std::shared_ptr<const CpuLoads> loads);

    [[nodiscard]] Items::ItemReading Read(const Items::ReadPass& pass) override;
    [[nodiscard]] BasicString Describe() const override;

private:
    const std::shared_ptr<const CpuLoads> loads;
};

} // namespace Oxa::Device::Linux::Sources
