#pragma once

#include "Oxa/Device/Interface/Services/DeviceItems.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"

#include <cstddef>
#include <iterator>
#include <vector>

/// What a page reads that asks for all five sections.
namespace Oxa::Benchmarks
{

using Device::Interface::Services::ItemValue;

// As the sections name them, and in their order.
inline constexpr const char* singleKeys[] = {"General.SPNS.Firmware.Version", "General.SPNS.Fpga.Version",
                                             "Status.System.UpTime.Seconds", "Status.Board.Temperature.Centigrade"};
inline constexpr const char* ledKeys[] = {
    "Status.Leds.Pnio.Bf_C",   "Status.Leds.Runtime.Run",   "Status.Leds.Pnio.Bf_D", "Status.Leds.Runtime.Fail",
    "Status.Leds.Pnio.Sf",     "Status.Leds.Runtime.Debug", "Status.Leds.Zelo.D",    "Status.Leds.Zelo.E",
    "Status.Leds.Runtime.Ext", "Status.Leds.Safety.Run",    "Status.Leds.Safety.Fs",
};
inline constexpr const char* utilizationKeys[] = {"Status.Memory.Usage.Percent.Actual", "Status.UserPartition.Total",
                                                  "Status.UserPartition.Usage", "Status.UserPartition.Usage.Percent"};

// Where the values lie in the array.
inline constexpr std::size_t upTimeIndex = 2;
inline constexpr std::size_t temperatureIndex = 3;
inline constexpr std::size_t ledIndex = std::size(singleKeys);
inline constexpr std::size_t runLedIndex = ledIndex + 1;
inline constexpr std::size_t failLedIndex = ledIndex + 3;
inline constexpr std::size_t externalLedIndex = ledIndex + 8;
inline constexpr std::size_t memoryIndex = ledIndex + std::size(ledKeys);
inline constexpr std::size_t partitionIndex = memoryIndex + 1;
inline constexpr std::size_t loadIndex = partitionIndex + 3;

/// What one refresh gives.
struct Values
{
    explicit Values(std::size_t coreCount) : items(loadIndex + 1 + coreCount) {}

    std::vector<ItemValue> items;
    DateTime time;
};

} // namespace Oxa::Benchmarks
