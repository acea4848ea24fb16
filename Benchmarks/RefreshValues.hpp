#pragma once

#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"

#include <cstddef>
#include <iterator>
#include <span>
#include <vector>

/// The items that a page reads for all five sections, and a reader of several items.
namespace Oxa::Benchmarks
{

using Device::Interface::Services::IDeviceStatusService;
using Device::Interface::Services::ItemKey;
using Device::Interface::Services::ItemValue;

// In the order of the sections.
inline constexpr const char* singleKeys[] = {"General.SPNS.Firmware.Version", "General.SPNS.Fpga.Version",
                                             "Status.System.UpTime.Seconds", "Status.Board.Temperature.Centigrade"};
inline constexpr const char* ledKeys[] = {
    "Status.Leds.Pnio.Bf_C",   "Status.Leds.Runtime.Run",   "Status.Leds.Pnio.Bf_D", "Status.Leds.Runtime.Fail",
    "Status.Leds.Pnio.Sf",     "Status.Leds.Runtime.Debug", "Status.Leds.Zelo.D",    "Status.Leds.Zelo.E",
    "Status.Leds.Runtime.Ext", "Status.Leds.Safety.Run",    "Status.Leds.Safety.Fs",
};
inline constexpr const char* utilizationKeys[] = {"Status.Memory.Usage.Percent.Actual", "Status.UserPartition.Total",
                                                  "Status.UserPartition.Usage", "Status.UserPartition.Usage.Percent"};

// Positions in `Values::items`.
inline constexpr std::size_t upTimeIndex = 2;
inline constexpr std::size_t temperatureIndex = 3;
inline constexpr std::size_t ledIndex = std::size(singleKeys);
inline constexpr std::size_t runLedIndex = ledIndex + 1;
inline constexpr std::size_t failLedIndex = ledIndex + 3;
inline constexpr std::size_t externalLedIndex = ledIndex + 8;
inline constexpr std::size_t memoryIndex = ledIndex + std::size(ledKeys);
inline constexpr std::size_t partitionIndex = memoryIndex + 1;
inline constexpr std::size_t loadIndex = partitionIndex + 3;

/// The values of one refresh of the page.
struct Values
{
    explicit Values(std::size_t coreCount) : items(loadIndex + 1 + coreCount) {}

    std::vector<ItemValue> items;
    DateTime time;
};

/// Reads several items in one call.
class MultiItemReader final
{
public:
    explicit MultiItemReader(std::span<const char* const> keys) : keys(keys.begin(), keys.end()) {}

    MultiItemReader(const MultiItemReader&) = delete;
    MultiItemReader& operator=(const MultiItemReader&) = delete;

    void AddKey(const BasicString& key)
    {
        keys.emplace_back(key);
    }

    /// `first`: the first of as many values as there are keys.
    void Read(IDeviceStatusService& service, ItemValue* first)
    {
        next = first;
        service.ReadItems(writeKeys, readValues);
    }

private:
    void WriteKeys(System::Rsc::IRscWriteEnumerator<ItemKey>& enumerator) const
    {
        enumerator.BeginWrite(keys.size());
        for (const ItemKey& key : keys)
        {
            enumerator.WriteNext(key);
        }
        enumerator.EndWrite();
    }

    void ReadValues(System::Rsc::IRscReadEnumerator<ItemValue>& enumerator)
    {
        for (std::size_t count = enumerator.BeginRead(); count > 0; --count)
        {
            (void)enumerator.ReadNext(*next++);
        }
        enumerator.EndRead();
    }

    std::vector<ItemKey> keys;
    ItemValue* next = nullptr;
    const Device::Interface::Services::WriteItemKeysDelegate writeKeys =
        Device::Interface::Services::WriteItemKeysDelegate::Bind(*this, &MultiItemReader::WriteKeys);
    const Device::Interface::Services::ReadItemValuesDelegate readValues =
        Device::Interface::Services::ReadItemValuesDelegate::Bind(*this, &MultiItemReader::ReadValues);
};

} // namespace Oxa::Benchmarks
