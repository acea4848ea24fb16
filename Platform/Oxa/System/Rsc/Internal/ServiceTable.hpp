#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"

#include <atomic>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace Oxa::System::Rsc
{
class RscServiceSlot;
}

namespace Oxa::System::Rsc::Internal
{

/// What an RscRegistration registers. Outlives it as long as calls of other processes need it.
struct Registration
{
    const BasicString providerName;
    const BasicString bootId;
    const BasicString buildId;
    const std::vector<RscRegistration::Service> services;
    std::vector<std::shared_ptr<RscServiceSlot>> slots = {};
    std::atomic<bool> isWithdrawn = false;
};

/// Every place where a service is or was asked for, and what this process provides. Owned by the service manager.
/// Threads: safe from any thread.
class ServiceTable final
{
public:
    /// The one of this process. Never destroyed: a proxy may be called to the end.
    [[nodiscard]] static ServiceTable& GetInstance();

    /// A place lives only as long as its proxies and registrations: what stands in there is code of the interface's
    /// library, which may be unloaded after them.
    [[nodiscard]] std::shared_ptr<RscServiceSlot> FindOrCreate(const BasicString& provider,
                                                               const BasicString& interface);

    /// Throws InvalidOperationException when the provider is registered already.
    void Add(const std::shared_ptr<Registration>& registration);
    void Remove(const Registration& registration);
    [[nodiscard]] std::vector<std::shared_ptr<const Registration>> GetRegistrations() const;

private:
    using Key = std::pair<BasicString, BasicString>;

    mutable System::Commons::Mutex mutex;
    std::map<Key, std::weak_ptr<RscServiceSlot>> slots;
    std::vector<std::shared_ptr<const Registration>> registrations;
};

} // namespace Oxa::System::Rsc::Internal
