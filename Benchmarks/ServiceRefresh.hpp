#pragma once

#include "Benchmarks/RefreshValues.hpp"
#include "Device/Description/DescribedMachine.hpp"
#include "Device/Description/DeviceDescription.hpp"
#include "Device/Services/ItemService.hpp"
#include "Device/Services/RtcService.hpp"

#include <memory>
#include <string>
#include <vector>

namespace Oxa::Benchmarks
{

using namespace Device::Linux;
using Device::Interface::Services::ItemKey;
using Device::Interface::Services::ReadItemValuesDelegate;
using Device::Interface::Services::WriteItemKeysDelegate;
using System::Rsc::IRscReadEnumerator;
using System::Rsc::IRscWriteEnumerator;

/// A multi-item read of some keys into a piece of the array.
class MultiItemReader final
{
public:
    MultiItemReader() = default;
    MultiItemReader(const MultiItemReader&) = delete;
    MultiItemReader& operator=(const MultiItemReader&) = delete;

    void AddKey(const BasicString& key)
    {
        keys.emplace_back(key);
    }

    void Read(Services::DeviceStatusService& service, ItemValue* first)
    {
        next = first;
        service.ReadItems(writeKeys, readValues);
    }

private:
    void WriteKeys(IRscWriteEnumerator<ItemKey>& enumerator) const
    {
        enumerator.BeginWrite(keys.size());
        for (const ItemKey& key : keys)
        {
            enumerator.WriteNext(key);
        }
        enumerator.EndWrite();
    }

    void ReadValues(IRscReadEnumerator<ItemValue>& enumerator)
    {
        for (std::size_t count = enumerator.BeginRead(); count > 0; --count)
        {
            (void)enumerator.ReadNext(*next++);
        }
        enumerator.EndRead();
    }

    std::vector<ItemKey> keys;
    ItemValue* next = nullptr;
    const WriteItemKeysDelegate writeKeys = WriteItemKeysDelegate::Bind(*this, &MultiItemReader::WriteKeys);
    const ReadItemValuesDelegate readValues = ReadItemValuesDelegate::Bind(*this, &MultiItemReader::ReadValues);
};

/// The services of a described machine, asked as the five sections ask them.
class ServiceRefresh final
{
public:
    ServiceRefresh(const BasicString& root, const BasicString& descriptionName)
        : machine(Machine::MachineRoot(root)),
          service(std::shared_ptr<const Items::ItemTable>(
              Description::DeviceDescription::Load(OXA_DESCRIPTIONS "/" + descriptionName).MakeItems(machine))),
          keys(std::begin(singleKeys), std::end(singleKeys))
    {
        for (const char* const key : ledKeys)
        {
            leds.AddKey(key);
        }
        for (const char* const key : utilizationKeys)
        {
            utilization.AddKey(key);
        }
        for (std::size_t core = 0; core <= GetCoreCount(); ++core)
        {
            utilization.AddKey("Status.Cpu." + std::to_string(core) + ".Load.Percent");
        }
    }

    [[nodiscard]] std::size_t GetCoreCount()
    {
        return machine.GetCpuLoads()->GetCoreCount();
    }

    void Read(Values& values)
    {
        for (std::size_t index = 0; index < keys.size(); ++index)
        {
            values.items[index] = service.ReadItem(keys[index]);
        }
        values.time = rtcService.ReadDateTime();
        leds.Read(service, &values.items[ledIndex]);
        utilization.Read(service, &values.items[memoryIndex]);
    }

private:
    Description::DescribedMachine machine;
    Services::DeviceStatusService service;
    Services::RtcService rtcService{&Services::RtcService::ReadSystemClock};
    const std::vector<ItemKey> keys;
    MultiItemReader leds;
    MultiItemReader utilization;
};

} // namespace Oxa::Benchmarks
