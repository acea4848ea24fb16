#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <boost/asio/io_context.hpp>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Oxa::Host::Threads
{

/// Runs an io_context by a team of threads of which one runs the loop at a time. Code of others, which may hang, is
/// called inside a `ForeignCall`; when one lasts, another thread of the team takes the loop over, and the one that hung
/// goes back to the team when it is through. So nothing wakes a second thread as long as everybody is quick, and all
/// handlers but those that come out of a foreign call run one after the other.
/// What escapes a handler is logged, and the loop goes on.
/// Owned by the host's main part. Threads: everything is safe from any thread.
class EventLoop final : private System::Commons::Diagnostics::Logging::Loggable<EventLoop>
{
public:
    EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Requires: `Run` has returned or was never called.
    ~EventLoop();

    [[nodiscard]] boost::asio::io_context& GetContext() noexcept
    {
        return context;
    }

    /// Runs handlers until `Stop`; returns when all threads of the team are through. Once.
    /// `maximumThreads`: one more than there may be foreign calls that hang at the same time; at least 1.
    void Run(unsigned maximumThreads);

    void Stop();

    /// Spans a call of foreign code out of a handler; not inside another one. Costs two atomic operations; does nothing
    /// on other threads.
    class ForeignCall final
    {
    public:
        explicit ForeignCall(EventLoop& loop) noexcept;
        ForeignCall(const ForeignCall&) = delete;
        ForeignCall& operator=(const ForeignCall&) = delete;
        ~ForeignCall();

    private:
        EventLoop& loop;
        /// The loop's state inside the call; 0 when the thread does not run the loop.
        std::uint64_t state = 0;
    };

private:
    using MemberNumber = std::uint64_t;

    void RunMember(MemberNumber member);
    void Lead(MemberNumber member);
    template <class Step>
    void RunGuarded(const Step& step);
    [[nodiscard]] bool Follow(MemberNumber member);
    [[nodiscard]] bool Watch(std::unique_lock<std::mutex>& lock, MemberNumber member);
    void Park(std::unique_lock<std::mutex>& lock, std::uint64_t seenState);
    void Unpark();
    void EnsureFollower();
    [[nodiscard]] bool IsLeader(MemberNumber member) const noexcept;

    boost::asio::io_context context;
    unsigned maximumThreads = 1;

    /// Who runs the loop and whether in a foreign call: member number in the upper bits, below it a counter that every
    /// begin and end of a call moves on by one, so that an odd one means inside.
    std::atomic<std::uint64_t> state;
    std::atomic<bool> isParked = false;
    std::atomic<bool> isStopping = false;

    std::mutex mutex;
    std::condition_variable changed;
    bool hasWatcher = false;
    unsigned waitingFollowers = 0;
    std::vector<std::thread> threads;
};

} // namespace Oxa::Host::Threads
