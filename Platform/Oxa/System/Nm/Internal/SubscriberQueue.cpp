#include "Oxa/System/Nm/Internal/SubscriberQueue.hpp"

#include "Oxa/System/Nm/Internal/CurrentTime.hpp"

#include <exception>
#include <mutex>
#include <utility>

namespace Oxa::System::Nm::Internal
{

using System::Commons::Diagnostics::Logging::LogLevel;

SubscriberQueue::SubscriberQueue(Subscriber subscriber, std::size_t maximumWaiting)
    : subscriber(std::move(subscriber)), maximumWaiting(maximumWaiting)
{
}

void SubscriberQueue::Start(const std::shared_ptr<SubscriberQueue>& queue)
{
    queue->worker = std::thread([self = queue] { self->Run(); });
}

void SubscriberQueue::Push(std::shared_ptr<const Notification> notification)
{
    {
        const std::lock_guard lock(mutex);
        if (isClosed)
        {
            return;
        }
        waiting.push_back(std::move(notification));
        if (waiting.size() > maximumWaiting)
        {
            waiting.pop_front();
            ++lostCount;
        }
    }
    changed.notify_one();
}

void SubscriberQueue::Close() noexcept
{
    const bool isDelivering = worker.get_id() == std::this_thread::get_id();
    {
        const std::lock_guard lock(mutex);
        isClosed = true;
        if (isDelivering)
        {
            waiting.clear();
            lostCount = 0;
        }
    }
    changed.notify_one();
    if (isDelivering)
    {
        worker.detach();
        return;
    }
    if (worker.joinable())
    {
        worker.join();
    }
}

void SubscriberQueue::Run() noexcept
{
    for (bool goesOn = true; goesOn;)
    {
        try
        {
            goesOn = DeliverNext();
        }
        catch (const std::exception& exception)
        {
            Log(LogLevel::Error, "A subscriber failed: {0}", exception.what());
        }
        catch (...)
        {
            Log(LogLevel::Error, "A subscriber failed: unknown exception");
        }
    }
    subscriber = nullptr;
}

bool SubscriberQueue::DeliverNext()
{
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return isClosed || !waiting.empty(); });
    if (waiting.empty())
    {
        return false;
    }
    if (const uint64 lost = std::exchange(lostCount, 0); lost != 0)
    {
        lock.unlock();
        ReportLoss(lost);
        return true;
    }
    const std::shared_ptr<const Notification> notification = std::move(waiting.front());
    waiting.pop_front();
    lock.unlock();
    subscriber(*notification);
    return true;
}

void SubscriberQueue::ReportLoss(uint64 count)
{
    const BasicString countText = std::to_string(count);
    Log(LogLevel::Warning, "A subscriber is too slow; it lost {0} notifications", count);
    subscriber({.time = GetCurrentTime(),
                .kind = NotificationKind::NotificationsLost,
                .source = "Oxa.System.Nm",
                .user = {},
                .text = countText + " notifications were lost",
                .fields = {{"count", countText}}});
}

} // namespace Oxa::System::Nm::Internal
