#pragma once

#include "Oxa/System/Commons/Delegate.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscReadEnumerator.hpp"
#include "Oxa/System/Rsc/IRscWriteEnumerator.hpp"
#include "Oxa/System/Rsc/RscString.hpp"
#include "Oxa/System/Rsc/RscVariant.hpp"

namespace Oxa::Device::Interface::Services
{

/// The dotted name of one device item, for instance "Status.Board.Temperature.Centigrade".
using ItemKey = System::Rsc::RscString<512>;

/// Its value; the type NotSet when the device has no such item or cannot read it now.
using ItemValue = System::Rsc::RscVariant<512>;

/// Any value as text, for people and logs: numbers in decimal, the shortest form that reads back, and what
/// `ItemValue::ToString` has a text for; an array as "3 x Uint8", of every other type its name in parentheses. Unlike
/// `ItemValue::ToString` it never throws NotSupportedException. Safe from any thread.
[[nodiscard]] OXA_EXPORT BasicString FormatItemValue(const ItemValue& value);

/// Called once by a multi-item read to take the keys.
using WriteItemKeysDelegate = Oxa::delegate<void(System::Rsc::IRscWriteEnumerator<ItemKey>&)>;

/// Called once by a multi-item read, after the keys were taken, to deliver one value per key in the order of the keys.
using ReadItemValuesDelegate = Oxa::delegate<void(System::Rsc::IRscReadEnumerator<ItemValue>&)>;

} // namespace Oxa::Device::Interface::Services
