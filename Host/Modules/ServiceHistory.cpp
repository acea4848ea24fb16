#include "Host/Modules/ServiceHistory.hpp"

#include <utility>

namespace Oxa::Host::Modules
{

bool ServiceHistory::AddLoss(const BasicString& providerName)
{
    Counts& counts = providers[providerName];
    ++counts.losses;
    return !std::exchange(counts.isAway, true);
}

bool ServiceHistory::AddAppearance(const BasicString& providerName)
{
    Counts& counts = providers[providerName];
    ++counts.appearances;
    return std::exchange(counts.isAway, false);
}

ServiceHistory::Counts ServiceHistory::GetCounts(const BasicString& providerName) const
{
    const auto found = providers.find(providerName);
    return found == providers.end() ? Counts() : found->second;
}

} // namespace Oxa::Host::Modules
