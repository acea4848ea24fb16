#include "Device/Description/DescribedMachine.hpp"

#include <utility>

namespace Oxa::Device::Linux::Description
{

namespace
{

template <class T>
std::shared_ptr<T> GetShared(std::map<BasicString, std::shared_ptr<T>>& all, const BasicString& path)
{
    auto& shared = all[path];
    if (!shared)
    {
        shared = std::make_shared<T>(path);
    }
    return shared;
}

} // namespace

DescribedMachine::DescribedMachine(Machine::MachineRoot root) : root(std::move(root)) {}

DescribedMachine::~DescribedMachine() = default;

const Machine::MachineRoot& DescribedMachine::GetRoot() const noexcept
{
    return root;
}

std::shared_ptr<Machine::KeptFile> DescribedMachine::GetFile(const BasicString& path)
{
    return GetShared(files, root.Resolve(path));
}

std::shared_ptr<Sources::MemoryProbe> DescribedMachine::GetMemory()
{
    if (!memory)
    {
        memory = std::make_shared<Sources::MemoryProbe>(root.Resolve("/proc/meminfo"));
    }
    return memory;
}

std::shared_ptr<Sources::PartitionProbe> DescribedMachine::GetPartition(const BasicString& mountPoint)
{
    return GetShared(partitions, root.Resolve(mountPoint));
}

const std::shared_ptr<Sources::CpuLoads>& DescribedMachine::GetCpuLoads()
{
    if (!loads)
    {
        loads = std::make_shared<Sources::CpuLoads>(root.Resolve("/proc/stat"),
                                                    root.Resolve("/sys/devices/system/cpu/online"));
    }
    return loads;
}

const std::shared_ptr<Sources::CpuLoads>& DescribedMachine::TryGetCpuLoads() const noexcept
{
    return loads;
}

} // namespace Oxa::Device::Linux::Description
