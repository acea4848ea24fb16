#pragma once

#include "Device/Identity/BootIdentity.hpp"
#include "Device/Items/ItemTable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <vector>

namespace Oxa::Device::Linux::Identity
{

/// Adds "Status.System.BootId" and "Status.System.BuildId", by which a reader sees that the device restarted or became
/// another one, unless there are such items. `descriptionFiles`: what the build id depends on beside the program.
/// Requires: `bootIdentity` is not null.
void AddIdentityItems(Items::ItemTable& table, std::shared_ptr<const BootIdentity> bootIdentity,
                      const std::vector<BasicString>& descriptionFiles);

} // namespace Oxa::Device::Linux::Identity
