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

    void Publish(Notification notification) noexcept;

    /// Takes effect from now on, until the manager is destroyed. Throws ArgumentException for an empty function.
    void Subscribe(Subscriber subscriber);

private:
    System::Commons::Mutex mutex;
    std::list<Subscriber> subscribers OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::System::Nm
