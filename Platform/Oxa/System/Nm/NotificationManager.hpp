#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Nm/Notification.hpp"

#include <functional>
#include <list>

namespace Oxa::System::Nm
{

/// Hands every notification that is published to every subscriber, to all in the same order, on the thread that
/// publishes. Owned by the process's main part. Threads: safe from any thread.
class OXA_EXPORT NotificationManager final
    : private System::Commons::Diagnostics::Logging::Loggable<NotificationManager>
{
public:
    /// Called with one notification at a time. It returns soon and uses the manager for nothing. What it throws is
    /// logged.
    using Subscriber = std::function<void(const Notification&)>;

    NotificationManager();
    NotificationManager(const NotificationManager&) = delete;
    NotificationManager& operator=(const NotificationManager&) = delete;
    ~NotificationManager();

    void Publish(Notification notification) noexcept;

    /// From now on, as long as the manager lives. Throws ArgumentException for an empty function.
    void Subscribe(Subscriber subscriber);

private:
    System::Commons::Mutex mutex;
    std::list<Subscriber> subscribers;
};

} // namespace Oxa::System::Nm
