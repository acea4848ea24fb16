#pragma once

#include "Device/Description/DescribedMachine.hpp"
#include "Device/Items/IItemSource.hpp"

#include <functional>
#include <memory>

namespace Oxa::Device::Linux::Description
{

/// Makes a source for a machine. A maker is used only when nothing was wrong with the description, once, or once for
/// each core; it touches the machine no more than it has to, and a machine that has not got what is described is a
/// reading without a value.
using SourceMaker = std::function<std::unique_ptr<Items::IItemSource>(DescribedMachine&)>;

} // namespace Oxa::Device::Linux::Description
