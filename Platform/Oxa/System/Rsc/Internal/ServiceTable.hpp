#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <atomic>
#include <list>
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

/// The services that this process uses and provides, the run that each provider's services belong to, and the listeners
/// that are told when that changes. Threads: safe from any thread; its lock is never held while another one is taken.
class ServiceTable final
{
public:
    /// The one of this process. Never destroyed: a proxy may be called until the process ends.
    [[nodiscard]] static ServiceTable& GetInstance();

    /// A slot lives only as long as its proxies and registrations: its services are code of the interface's library,
    /// which may be unloaded after them.
    [[nodiscard]] std::shared_ptr<RscServiceSlot> FindOrCreate(const BasicString& provider,
                                                               const BasicString& interface);

    /// Throws InvalidOperationException when the provider is registered already.
    void Add(const std::shared_ptr<Registration>& registration);
    void Remove(const Registration& registration);
    [[nodiscard]] std::vector<std::shared_ptr<const Registration>> GetRegistrations() const;

    /// The provider's services are available: a new epoch, unless its last run had the same identity.
    void BeginRun(const BasicString& providerName, const BasicString& bootId, const BasicString& buildId);
    /// The services are not available: the epoch is 0.
    void EndRun(const BasicString& providerName) noexcept;
    /// Of epoch 0 when the services are not available.
    [[nodiscard]] RscRun GetRun(const BasicString& providerName) const;
    [[nodiscard]] uint64 GetEpoch(const BasicString& providerName) const noexcept;

    /// Calls the listeners, without the lock. Requires: one thread at a time for one provider.
    void Report(const BasicString& providerName) noexcept;
    void AddListener(IRscServiceListener& listener);
    /// Returns when no call of the listener is in progress. Requires: the caller is not one of these calls.
    void RemoveListener(IRscServiceListener& listener);

private:
    struct Provider
    {
        bool isAvailable = false;
        /// The last one while the services are not available.
        RscRun run;
    };

    struct Listener
    {
        IRscServiceListener* listener;
        unsigned calls = 0;
        bool isRemoved = false;
    };

    [[nodiscard]] const Provider* TryFindAvailable(const BasicString& providerName) const noexcept OXA_REQUIRES(mutex);

    mutable System::Commons::Mutex mutex;
    System::Commons::ConditionVariable returned;
    std::map<std::pair<BasicString, BasicString>, std::weak_ptr<RscServiceSlot>> slots OXA_GUARDED_BY(mutex);
    std::vector<std::shared_ptr<const Registration>> registrations OXA_GUARDED_BY(mutex);
    std::map<BasicString, Provider> providers OXA_GUARDED_BY(mutex);
    uint64 lastEpoch OXA_GUARDED_BY(mutex) = 0;
    std::list<Listener> listeners OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::System::Rsc::Internal
