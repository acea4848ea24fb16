#pragma once

#include "Device/Description/DescribedMachine.hpp"
#include "Device/Description/DescriptionElement.hpp"
#include "Device/Items/IItemSource.hpp"

#include <functional>
#include <memory>

/// The elements of a description that stand for sources. Each function reads the attributes of one element, reports
/// what is wrong with them, and returns what makes the source for a machine; the element's name is in the table of
/// `FindSourceElement`. A maker is used only when nothing was wrong, once, or once for each core; it touches the
/// machine no more than it has to, and a machine that has not got what is described is a reading without a value.
namespace Oxa::Device::Linux::Description
{

using SourceMaker = std::function<std::unique_ptr<Items::IItemSource>(DescribedMachine&)>;

using ReadSourceFunction = SourceMaker (*)(DescriptionElement&);

/// Null for an element that stands for no source; `first` is none of them, for it has elements inside.
[[nodiscard]] ReadSourceFunction FindSourceElement(std::string_view name);

// FileElements.cpp
[[nodiscard]] SourceMaker ReadText(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadFile(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadDmi(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadDeviceTree(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadOsRelease(DescriptionElement& element);

// SensorElements.cpp
[[nodiscard]] SourceMaker ReadGpio(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadHwmon(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadLed(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadThermal(DescriptionElement& element);

// SimulatedElement.cpp
[[nodiscard]] SourceMaker ReadSimulated(DescriptionElement& element);

// SystemElements.cpp
[[nodiscard]] SourceMaker ReadAbsent(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadBoardTemperature(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadCpu(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadMemory(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadPartition(DescriptionElement& element);
[[nodiscard]] SourceMaker ReadUptime(DescriptionElement& element);

} // namespace Oxa::Device::Linux::Description
