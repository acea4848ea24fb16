#pragma once

#include "Device/Machine/KeptFile.hpp"
#include "Device/Machine/SteadyClock.hpp"
#include "Device/Sources/CpuTimes.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <atomic>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::Device::Linux::Sources
{

/// The load of every processor core over the last sampling period; until the first period is over, the mean since boot.
/// Which cores there are is settled when the object is made: those that are online then, at most 255, numbered from 1
/// in the order of their numbers. One that goes offline has load 0. Threads: safe from several threads; reading takes
/// no lock. Shared by the sampler and the sources.
class CpuLoads final
{
public:
    static constexpr std::size_t maximumCoreCount = 255;

    /// Takes the first sample. `statPath`: a file like /proc/stat; `onlinePath`: a list of processors, asked when the
    /// first cannot be read.
    CpuLoads(BasicString statPath, const BasicString& onlinePath,
             Machine::SteadyClock clock = &Machine::ReadSteadyClock);

    /// Ends the period that began with the last sample.
    void Sample();

    /// 0 when the machine does not tell.
    [[nodiscard]] uint8 GetCoreCount() const noexcept;

    /// Percent; core 0 is all cores together. None when the last sample could not be read or there is no such core.
    [[nodiscard]] std::optional<uint8> GetPercent(std::size_t core) const noexcept;

    /// Why there is none.
    [[nodiscard]] BasicString GetCause() const;

    [[nodiscard]] const BasicString& GetPath() const noexcept;

private:
    static constexpr std::size_t slotCount = maximumCoreCount + 1;
    static constexpr uint8 unknownPercent = 255;

    using Slots = std::array<std::optional<CpuTimes>, slotCount>;

    [[nodiscard]] std::string_view ReadFile();
    [[nodiscard]] std::optional<std::size_t> FindSlot(const CpuLine& line) const noexcept;
    [[nodiscard]] Slots ParseSlots(std::string_view text) const noexcept;
    void Publish(const Slots& slots) noexcept;

    Machine::KeptFile file;
    /// Ascending.
    std::vector<uint32> coreNumbers;
    std::array<std::atomic<uint8>, slotCount> percents;
    std::atomic<int> error = 0;

    /// Guards what follows: everything that only samples touch.
    System::Commons::Mutex mutex;
    std::vector<char> buffer;
    Slots previous;
};

} // namespace Oxa::Device::Linux::Sources
