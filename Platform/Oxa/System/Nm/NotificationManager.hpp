#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Nm/Notification.hpp"
#include "Oxa/System/Nm/Subscription.hpp"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace Oxa::System::Nm
{

/// Hands every notification that is published to every subscriber, to all in the same order. Each subscriber has a
/// thread and a queue of its own: one that is slow or throws harms neither the publishers nor the other subscribers.
/// Owned by the process's main part. Threads: safe from any thread.
class OXA_EXPORT NotificationManager final
    : private System::Commons::Diagnostics::Logging::Loggable<NotificationManager>
{
public:
    /// So many notifications wait for one subscriber; one more drops the oldest, and the subscriber is told by a
    /// notification of kind NotificationsLost.
    static constexpr std::size_t maximumWaiting = 1024;

    NotificationManager();
    NotificationManager(const NotificationManager&) = delete;
    NotificationManager& operator=(const NotificationManager&) = delete;

    /// Subscriptions that are alive keep what was published and deliver it.
    ~NotificationManager();

    /// Returns without waiting for a subscriber. A notification that cannot be kept for want of memory is logged and
    /// lost.
    void Publish(Notification notification) noexcept;

    /// From now on `subscriber` is called with each notification, by one thread that is the subscription's own. What it
    /// throws is logged. Throws ArgumentException for an empty function and std::system_error when no thread can be
    /// had.
    [[nodiscard]] std::unique_ptr<Subscription> Subscribe(std::function<void(const Notification&)> subscriber);

private:
    System::Commons::Mutex mutex;
    std::vector<std::weak_ptr<Internal::SubscriberQueue>> queues;
};

} // namespace Oxa::System::Nm
