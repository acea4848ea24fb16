#include "Device/Identity/IdentityItems.hpp"

#include "Device/Identity/BootIdSource.hpp"
#include "Device/Identity/BuildIdentity.hpp"
#include "Device/Sources/ConstantSource.hpp"

#include <utility>

namespace Oxa::Device::Linux::Identity
{

namespace
{

constexpr const char* bootIdKey = "Status.System.BootId";
constexpr const char* buildIdKey = "Status.System.BuildId";

} // namespace

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
