#pragma once

#include "Device/Machine/KeptFile.hpp"
#include "Device/Machine/MachineRoot.hpp"
#include "Device/Sources/CpuLoads.hpp"
#include "Device/Sources/MemorySource.hpp"
#include "Device/Sources/PartitionSource.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <map>
#include <memory>

namespace Oxa::Device::Linux::Description
{

/// The machine that sources are made for, and what they share: every file is opened once, whoever reads it, and a
/// probe's snapshot serves all of its sources. Paths are those that the machine sees; nothing is opened before it is
/// read, but the counters of the processors.
/// Threads: one at a time; what it hands out is shared.
class DescribedMachine final
{
public:
    explicit DescribedMachine(Machine::MachineRoot root);
    DescribedMachine(const DescribedMachine&) = delete;
    DescribedMachine& operator=(const DescribedMachine&) = delete;
    ~DescribedMachine();

    [[nodiscard]] const Machine::MachineRoot& GetRoot() const noexcept;

    [[nodiscard]] std::shared_ptr<Machine::KeptFile> GetFile(const BasicString& path);
    [[nodiscard]] std::shared_ptr<Sources::MemoryProbe> GetMemory();
    [[nodiscard]] std::shared_ptr<Sources::PartitionProbe> GetPartition(const BasicString& mountPoint);

    /// Takes the first sample when it is asked for the first time; never null.
    [[nodiscard]] const std::shared_ptr<Sources::CpuLoads>& GetCpuLoads();
    /// Null when nobody has asked for the loads.
    [[nodiscard]] const std::shared_ptr<Sources::CpuLoads>& TryGetCpuLoads() const noexcept;

    /// The core whose items are being made, for an item that there is one of for each; 0 for all cores together.
    [[nodiscard]] std::size_t GetCore() const noexcept;
    void SetCore(std::size_t newCore) noexcept;

private:
    const Machine::MachineRoot root;
    std::map<BasicString, std::shared_ptr<Machine::KeptFile>> files;
    std::map<BasicString, std::shared_ptr<Sources::PartitionProbe>> partitions;
    std::shared_ptr<Sources::MemoryProbe> memory;
    std::shared_ptr<Sources::CpuLoads> loads;
    std::size_t core = 0;
};

} // namespace Oxa::Device::Linux::Description
