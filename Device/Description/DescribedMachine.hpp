#pragma once

#include "Device/Items/IItemSource.hpp"
#include "Device/Machine/KeptFile.hpp"
#include "Device/Machine/MachineRoot.hpp"
#include "Device/Sources/CpuLoads.hpp"
#include "Device/Sources/MemorySource.hpp"
#include "Device/Sources/PartitionSource.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>

namespace Oxa::Device::Linux::Description
{

/// The machine that sources are made for, and what the sources share: every file is opened once, and a probe's snapshot
/// serves all of its sources. Paths are those that the machine sees. Only the counters of the processors are opened
/// before they are read.
/// Threads: one at a time; what it returns is shared.
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

    /// Takes the first sample when it is called for the first time; never null.
    [[nodiscard]] const std::shared_ptr<Sources::CpuLoads>& GetCpuLoads();
    /// Null when no source uses the loads.
    [[nodiscard]] const std::shared_ptr<Sources::CpuLoads>& TryGetCpuLoads() const noexcept;

private:
    const Machine::MachineRoot root;
    std::map<BasicString, std::shared_ptr<Machine::KeptFile>> files;
    std::map<BasicString, std::shared_ptr<Sources::PartitionProbe>> partitions;
    std::shared_ptr<Sources::MemoryProbe> memory;
    std::shared_ptr<Sources::CpuLoads> loads;
};

/// Makes a source for a machine; `core` is the core of an item that exists for each core, 0 for all cores together. A
/// maker is called only when the description has no mistake, once, or once for each core. A machine that lacks the
/// described part gives a source without a value.
using SourceMaker = std::function<std::unique_ptr<Items::IItemSource>(DescribedMachine& machine, std::size_t core)>;

} // namespace Oxa::Device::Linux::Description
