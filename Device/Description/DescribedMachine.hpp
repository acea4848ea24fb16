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
#include <tuple>
#include <utility>

namespace Oxa::Device::Linux::Description
{

/// The machine that sources are made for, and what the sources share: every file is opened once, and a probe's snapshot
/// serves all of its sources. Paths are those that the machine sees. Only the counters of the processors are opened
/// before they are read.
/// Threads: one at a time; what it returns is shared.
class DescribedMachine final
{
public:
    explicit DescribedMachine(Machine::MachineRoot root) : root(std::move(root)) {}

    DescribedMachine(const DescribedMachine&) = delete;
    DescribedMachine& operator=(const DescribedMachine&) = delete;

    [[nodiscard]] const Machine::MachineRoot& GetRoot() const noexcept
    {
        return root;
    }

    /// The only kept file or probe of its path; never null.
    template <class T>
    [[nodiscard]] std::shared_ptr<T> GetShared(const BasicString& path)
    {
        auto& shared = std::get<SharedByPath<T>>(all)[path];
        if (!shared)
        {
            shared = std::make_shared<T>(root.Resolve(path));
        }
        return shared;
    }

    /// Takes the first sample when it is called for the first time; never null.
    [[nodiscard]] const std::shared_ptr<Sources::CpuLoads>& GetCpuLoads()
    {
        if (!loads)
        {
            loads = std::make_shared<Sources::CpuLoads>(root.Resolve("/proc/stat"),
                                                        root.Resolve("/sys/devices/system/cpu/online"));
        }
        return loads;
    }

    /// Null when no source uses the loads.
    [[nodiscard]] const std::shared_ptr<Sources::CpuLoads>& TryGetCpuLoads() const noexcept
    {
        return loads;
    }

private:
    template <class T>
    using SharedByPath = std::map<BasicString, std::shared_ptr<T>>;

    const Machine::MachineRoot root;
    std::tuple<SharedByPath<Machine::KeptFile>, SharedByPath<Sources::MemoryProbe>,
               SharedByPath<Sources::PartitionProbe>>
        all;
    std::shared_ptr<Sources::CpuLoads> loads;
};

/// Makes a source for a machine; `core` is the core of an item that exists for each core, 0 for all cores together. A
/// maker is called only when the description has no mistake, once, or once for each core. A machine that lacks the
/// described part gives a source without a value.
using SourceMaker = std::function<std::unique_ptr<Items::IItemSource>(DescribedMachine& machine, std::size_t core)>;

} // namespace Oxa::Device::Linux::Description
