#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Nm/Notification.hpp"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <thread>

namespace Oxa::System::Nm::Internal
{

/// What waits for one subscriber, and the thread that delivers it. The thread shares the ownership, so that the
/// subscriber may end its subscription while it is being called. Threads: safe from any thread.
class SubscriberQueue final : private System::Commons::Diagnostics::Logging::Loggable<SubscriberQueue>
{
public:
    using Subscriber = std::function<void(const Notification&)>;

    SubscriberQueue(Subscriber subscriber, std::size_t maximumWaiting);
    SubscriberQueue(const SubscriberQueue&) = delete;
    SubscriberQueue& operator=(const SubscriberQueue&) = delete;
    ~SubscriberQueue() = default;

    /// Called once. Throws std::system_error when the machine has no thread left.
    static void Start(const std::shared_ptr<SubscriberQueue>& queue);

    /// Drops the oldest when the queue is full, and the new one when it is closed.
    void Push(std::shared_ptr<const Notification> notification);

    /// Called once. Waits until everything is delivered; called by the delivering thread, it drops what waits instead.
    void Close() noexcept;

private:
    void Run() noexcept;
    [[nodiscard]] bool DeliverNext();
    void ReportLoss(uint64 count);

    // Touched by the delivering thread only, which also destroys it: Publish, holding its lock, must never do that.
    Subscriber subscriber;
    const std::size_t maximumWaiting;
    std::thread worker;

    System::Commons::Mutex mutex;
    std::condition_variable changed;
    std::deque<std::shared_ptr<const Notification>> waiting;
    uint64 lostCount = 0;
    bool isClosed = false;
};

} // namespace Oxa::System::Nm::Internal
