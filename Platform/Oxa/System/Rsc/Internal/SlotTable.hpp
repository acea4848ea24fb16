#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace Oxa::System::Rsc
{
class IRscServiceProxyFactory;
class RscServiceSlot;
} // namespace Oxa::System::Rsc

namespace Oxa::System::Rsc::Internal
{

/// Every place where a service is, was or should be provided; there are as many as interfaces. A place that this
/// process never provided anything at lives only as long as its proxies: what stands in there is code of the
/// interface's library, which may be unloaded after them. Owned by the service manager. Threads: safe from any thread.
class SlotTable final
{
public:
    using UseFunction = std::function<void(IRscServiceProxyFactory& factory, const std::shared_ptr<RscServiceSlot>&)>;

    [[nodiscard]] std::shared_ptr<RscServiceSlot> FindOrCreate(const BasicString& provider,
                                                               const BasicString& interface);
    /// From now on the factory's service is a registered one.
    [[nodiscard]] std::shared_ptr<RscServiceSlot> Register(IRscServiceProxyFactory& factory);

    /// Whether this process provides every service of the provider that it ever provided.
    [[nodiscard]] bool IsProviderComplete(const BasicString& provider) const;
    /// Calls `use` with every service that is or was registered, under no lock.
    void ForEachRegistered(const UseFunction& use) const;
    /// Forgets the services that never were registered. Proxies keep theirs.
    void RemoveUnregistered();

private:
    using Key = std::pair<BasicString, BasicString>;

    struct Entry
    {
        std::weak_ptr<RscServiceSlot> slot;
        /// Null as long as this process never provided the service.
        std::shared_ptr<RscServiceSlot> registeredSlot;
        IRscServiceProxyFactory* factory = nullptr;
    };

    /// Requires: the lock is held.
    [[nodiscard]] static std::shared_ptr<RscServiceSlot> GetSlot(const Key& key, Entry& entry);

    mutable System::Commons::Mutex mutex;
    std::map<Key, Entry> entries;
};

} // namespace Oxa::System::Rsc::Internal
