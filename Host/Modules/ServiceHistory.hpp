#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstdint>
#include <map>

namespace Oxa::Host::Modules
{

/// How often the services of each provider were lost and appeared. A value type: whoever keeps a copy can tell later
/// what has happened since. Threads: one at a time.
class ServiceHistory final
{
public:
    struct Counts
    {
        std::uint64_t losses = 0;
        std::uint64_t appearances = 0;
        /// Lost, and not appeared again.
        bool isAway = false;
    };

    /// Counts a loss. True when the services were there before.
    [[nodiscard]] bool AddLoss(const BasicString& providerName);

    /// Counts an appearance. True when the services were away before.
    [[nodiscard]] bool AddAppearance(const BasicString& providerName);

    /// Zero for a provider of which nothing was heard.
    [[nodiscard]] Counts GetCounts(const BasicString& providerName) const;

private:
    std::map<BasicString, Counts> providers;
};

} // namespace Oxa::Host::Modules
