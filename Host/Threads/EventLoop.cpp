#include "Host/Threads/EventLoop.hpp"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>

#include <chrono>
#include <exception>

namespace Oxa::Host::Threads
{

using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

/// A call that the watcher sees unfinished twice in a row has lasted at least this long.
constexpr std::chrono::milliseconds watchPeriod{5};
/// Without a call for this many periods the watcher sleeps until there is one again.
constexpr int periodsUntilParking = 200;

constexpr unsigned memberShift = 48;
constexpr std::uint64_t counterMask = (std::uint64_t{1} << memberShift) - 1;

// Which member of which loop's team the thread is.
thread_local EventLoop* currentLoop = nullptr;
thread_local std::uint64_t currentMember = 0;

bool IsInsideCall(std::uint64_t state) noexcept
{
    return (state & 1U) != 0;
}

std::uint64_t MakeState(std::uint64_t member, std::uint64_t counter) noexcept
{
    return (member << memberShift) | (counter & counterMask);
}

} // namespace

EventLoop::EventLoop() : state(MakeState(0, 0)) {}

EventLoop::~EventLoop() = default;

void EventLoop::Run(unsigned newMaximumThreads)
{
    const auto work = boost::asio::make_work_guard(context);
    {
        const std::lock_guard lock(mutex);
        maximumThreads = newMaximumThreads;
        EnsureFollower();
    }
    currentLoop = this;
    RunMember(0);
    currentLoop = nullptr;
    // Members are added by members only, and those that could are joined one after the other.
    for (std::size_t index = 0;; ++index)
    {
        std::thread thread;
        {
            const std::lock_guard lock(mutex);
            if (index == threads.size())
            {
                return;
            }
            thread.swap(threads[index]);
        }
        thread.join();
    }
}

void EventLoop::Stop()
{
    const std::lock_guard lock(mutex);
    isStopping = true;
    context.stop();
    changed.notify_all();
}

void EventLoop::RunMember(MemberNumber member)
{
    currentMember = member;
    while (!isStopping)
    {
        if (IsLeader(member))
        {
            Lead(member);
        }
        else if (!Follow(member))
        {
            return;
        }
    }
}

void EventLoop::Lead(MemberNumber member)
{
    while (IsLeader(member) && !isStopping)
    {
        RunGuarded([this] { context.run_one(); });
    }
    // What this thread queued on its last way out of a handler is known to nobody who waits for events.
    RunGuarded([this] { boost::asio::post(context, [] {}); });
}

/// The border of handlers: a thread that ended here would take the loop along.
template <class Step>
void EventLoop::RunGuarded(const Step& step)
{
    try
    {
        step();
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "a handler failed: {0}", exception.what());
    }
    catch (...)
    {
        Log(LogLevel::Error, "a handler failed with an exception of unknown type");
    }
}

bool EventLoop::Follow(MemberNumber member)
{
    std::unique_lock lock(mutex);
    ++waitingFollowers;
    changed.wait(lock, [this] { return isStopping || !hasWatcher; });
    --waitingFollowers;
    if (isStopping)
    {
        return false;
    }
    hasWatcher = true;
    const bool isLeader = Watch(lock, member);
    hasWatcher = false;
    if (isLeader)
    {
        EnsureFollower();
        changed.notify_one();
    }
    return isLeader;
}

/// True when this member runs the loop from now on, false when the team stops.
bool EventLoop::Watch(std::unique_lock<std::mutex>& lock, MemberNumber member)
{
    std::uint64_t seenState = state.load();
    int quietPeriods = 0;
    while (!isStopping)
    {
        changed.wait_for(lock, watchPeriod);
        std::uint64_t current = state.load();
        if (current != seenState)
        {
            seenState = current;
            quietPeriods = 0;
        }
        else if (IsInsideCall(current))
        {
            if (state.compare_exchange_strong(current, MakeState(member, current + 1)))
            {
                return true;
            }
        }
        else if (++quietPeriods >= periodsUntilParking)
        {
            Park(lock, seenState);
            quietPeriods = 0;
        }
    }
    return false;
}

void EventLoop::Park(std::unique_lock<std::mutex>& lock, std::uint64_t seenState)
{
    isParked = true;
    // A call that began before it could see the flag is seen here instead.
    if (state.load() != seenState)
    {
        isParked = false;
        return;
    }
    changed.wait(lock, [this] { return isStopping || !isParked; });
    isParked = false;
}

void EventLoop::Unpark()
{
    const std::lock_guard lock(mutex);
    isParked = false;
    changed.notify_all();
}

/// Requires: the mutex is held.
void EventLoop::EnsureFollower()
{
    if (waitingFollowers > 0 || threads.size() + 1 >= maximumThreads || isStopping)
    {
        return;
    }
    const MemberNumber member = threads.size() + 1;
    try
    {
        threads.emplace_back(
            [this, member]
            {
                currentLoop = this;
                RunMember(member);
            });
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "no thread to take over when a call hangs: {0}", exception.what());
    }
}

bool EventLoop::IsLeader(MemberNumber member) const noexcept
{
    return state.load() >> memberShift == member;
}

EventLoop::ForeignCall::ForeignCall(EventLoop& loop) noexcept : loop(loop)
{
    if (currentLoop != &loop || !loop.IsLeader(currentMember))
    {
        return;
    }
    state = loop.state.fetch_add(1) + 1;
    if (loop.isParked)
    {
        loop.Unpark();
    }
}

EventLoop::ForeignCall::~ForeignCall()
{
    // Fails when another thread has taken the loop over: then that one's state must stay.
    std::uint64_t expected = state;
    if (state != 0)
    {
        loop.state.compare_exchange_strong(expected, MakeState(currentMember, state + 1));
    }
}

} // namespace Oxa::Host::Threads
