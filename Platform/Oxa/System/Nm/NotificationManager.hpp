#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Nm/Notification.hpp"

#include <functional>
#include <list>

namespace Oxa::System::Nm
{

/// Delivers every published notification to every subscriber, to all in the same order, on the publishing thread. Owned
/// by the process's main part. Threads: safe from any thread.
class OXA_EXPORT NotificationManager final
    : private System::Commons::Diagnostics::Logging::Loggable<NotificationManager>
{
public:
    /// Called with one notification at a time, under a lock: it must return soon and not call the manager. What it
    /// throws is logged.
    using Subscriber = std::function<void(const Notification&)>;

    /// Called after the subscriber, on the same thread but without the lock: may wait, for instance for a disk.
    /// `Publish` returns after it.
    using Completion = std::function<void()>;

    void Publish(Notification notification) noexcept;

    /// Takes effect from now on, until the manager is destroyed. Throws ArgumentException for an empty subscriber.
    void Subscribe(Subscriber subscriber, Completion complete = {});

private:
    struct Subscription
    {
        Subscriber subscriber;
        Completion complete;
    };

    template <class Call>
    void RunGuarded(const Call& call) const noexcept;

    System::Commons::Mutex mutex;
    /// Elements are never removed or moved, so that a completion may be called without the lock.
    std::list<Subscription> subscriptions OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::System::Nm
