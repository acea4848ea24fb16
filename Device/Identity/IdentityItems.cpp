#include "Device/Identity/IdentityItems.hpp"

#include "Device/Identity/BootIdSource.hpp"
#include "Device/Identity/BuildIdentity.hpp"
#include "Device/Sources/FallbackSource.hpp"
#include "Oxa/Device/Interface/Services/IdentityItemKeys.hpp"

#include <utility>

namespace Oxa::Device::Linux::Identity
{

using Interface::Services::bootIdKey;
using Interface::Services::buildIdKey;

void AddIdentityItems(Items::ItemTable& table, std::shared_ptr<const BootIdentity> bootIdentity,
                      const std::vector<BasicString>& descriptionFiles)
{
    if (table.TryFind(bootIdKey) == nullptr)
    {
        table.Add(bootIdKey, std::make_unique<BootIdSource>(std::move(bootIdentity)));
    }
    if (table.TryFind(buildIdKey) == nullptr)
    {
        const Items::ItemValue buildId(MakeBuildIdentity(descriptionFiles));
        table.Add(buildIdKey, std::make_unique<Sources::ConstantSource>(buildId));
    }
}

} // namespace Oxa::Device::Linux::Identity
