#pragma once

#include "Oxa/System/Commons/Export.hpp"

#include <memory>

namespace Oxa::System::Nm
{

namespace Internal
{
class SubscriberQueue;
}

/// Delivers notifications to one subscriber as long as it lives; made by NotificationManager::Subscribe, owned by the
/// subscriber, may outlive the manager. Threads: destroyed by one thread, which may be the one that delivers.
class OXA_EXPORT Subscription final
{
public:
    explicit Subscription(std::shared_ptr<Internal::SubscriberQueue> queue);
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

    /// Takes nothing new, delivers what was published before, and returns when that is done: an audit trail loses
    /// nothing at the end. Out of the subscriber's own function it returns at once, and what waits is dropped: that
    /// function may be about to go.
    ~Subscription();

private:
    std::shared_ptr<Internal::SubscriberQueue> queue;
};

} // namespace Oxa::System::Nm
