#include "Oxa/System/Nm/NotificationManager.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Nm/Internal/CurrentTime.hpp"
#include "Oxa/System/Nm/Internal/SubscriberQueue.hpp"

#include <exception>
#include <mutex>
#include <utility>

namespace Oxa::System::Nm
{

using System::Commons::ArgumentException;
using System::Commons::Diagnostics::Logging::LogLevel;

NotificationManager::NotificationManager() = default;

NotificationManager::~NotificationManager() = default;

void NotificationManager::Publish(Notification notification) noexcept
{
    try
    {
        if (notification.time.GetTicks() == 0)
        {
            notification.time = Internal::GetCurrentTime();
        }
        const auto shared = std::make_shared<const Notification>(std::move(notification));
        // Held while all queues are served: every subscriber sees the same order.
        const std::lock_guard lock(mutex);
        for (const auto& entry : queues)
        {
            if (const auto queue = entry.lock())
            {
                queue->Push(shared);
            }
        }
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "A notification is lost: {0}", exception.what());
    }
}

std::unique_ptr<Subscription> NotificationManager::Subscribe(std::function<void(const Notification&)> subscriber)
{
    if (!subscriber)
    {
        throw ArgumentException::CreateDefault("subscriber");
    }
    auto queue = std::make_shared<Internal::SubscriberQueue>(std::move(subscriber), maximumWaiting);
    auto subscription = std::make_unique<Subscription>(queue);
    Internal::SubscriberQueue::Start(queue);
    const std::lock_guard lock(mutex);
    std::erase_if(queues, [](const auto& entry) { return entry.expired(); });
    queues.push_back(queue);
    return subscription;
}

} // namespace Oxa::System::Nm
