#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscRun.hpp"

#include <list>
#include <map>

namespace Oxa::System::Rsc
{
class IRscServiceListener;
}

namespace Oxa::System::Rsc::Internal
{

/// The run that each provider's services belong to at the moment, and who is told when that changes. Owned by the
/// service manager. Threads: safe from any thread; `Begin` and `End` may be called under a lock, the lock of this class
/// is never held while another one is taken.
class ProviderRuns final
{
public:
    /// The one of this process. Never destroyed: a proxy may be called to the end.
    [[nodiscard]] static ProviderRuns& GetInstance();

    /// The services are there. A new epoch, unless the last run of the provider had the same identity.
    void Begin(const BasicString& providerName, const BasicString& bootId, const BasicString& buildId);
    /// The services are not there: the epoch is 0.
    void End(const BasicString& providerName) noexcept;
    /// Calls the listeners, under no lock. Requires: one thread at a time for one provider.
    void Report(const BasicString& providerName) noexcept;

    [[nodiscard]] uint64 GetEpoch(const BasicString& providerName) const noexcept;
    [[nodiscard]] RscRun Get(const BasicString& providerName) const;

    void AddListener(IRscServiceListener& listener);
    /// Returns when no call into the listener is under way. Requires: the caller is none of its calls.
    void RemoveListener(IRscServiceListener& listener);

private:
    struct Provider
    {
        bool isThere = false;
        /// The last one while the services are away.
        RscRun run;
    };

    struct Listener
    {
        IRscServiceListener* listener;
        unsigned calls = 0;
        bool isRemoved = false;
    };

    mutable System::Commons::Mutex mutex;
    System::Commons::ConditionVariable returned;
    std::map<BasicString, Provider> providers;
    uint64 lastEpoch = 0;
    std::list<Listener> listeners;
};

} // namespace Oxa::System::Rsc::Internal
