#include "Oxa/System/Commons/Threading/LeaderTeam.hpp"

#include <chrono>
#include <exception>
#include <utility>

// A member of the team is the leader, which runs the loop; the watcher, at most one, which checks the leader every 5
// ms; a follower, which waits to become the watcher; or delayed: it has lost the loop during a blocking section and
// becomes a follower when its call returns. The watcher is parked, without a period, while there are no blocking
// sections.
//
// The atomic `state` holds who leads and whether in a blocking section: the member id in the upper bits, below it a
// counter that the begin and the end of each section increment, so that an odd counter means inside. A watcher that
// sees the same odd state twice takes over by a compare-exchange, which fails when the section ends at the same moment;
// the end of the section is a compare-exchange as well, which fails when the loop was taken over. So exactly one of the
// two leads afterwards. Only the leader makes a state odd.
//
// The mutex guards the followers and the list of threads. It is held neither during a step nor in a blocking section,
// and nothing else is locked or called under it but the log: it cannot deadlock. `isStopping` and `isParked` are also
// read without it: a leader looks at them between steps. They change under it, so that no waiting member misses it.

namespace Oxa::System::Commons::Threading
{

using Diagnostics::Logging::LogLevel;

namespace
{

/// A blocking section that the watcher sees twice in a row has lasted at least this long.
constexpr std::chrono::milliseconds watchPeriod{5};
/// Without a blocking section for this many periods the watcher parks until the next one.
constexpr int periodsUntilParking = 200;

constexpr unsigned memberShift = 48;
constexpr std::uint64_t counterMask = (std::uint64_t{1} << memberShift) - 1;

/// Which member of which team the thread is. Thread-local, because a blocking section begins deep inside a step, behind
/// interfaces and libraries that know nothing of the team, and may begin on threads that are no member.
struct Membership
{
    LeaderTeam* team = nullptr;
    std::uint64_t member = 0;
};

thread_local Membership current;

bool IsInsideSection(std::uint64_t state) noexcept
{
    return (state & 1U) != 0;
}

std::uint64_t MakeState(std::uint64_t member, std::uint64_t counter) noexcept
{
    return (member << memberShift) | (counter & counterMask);
}

} // namespace

ILeaderWork::~ILeaderWork() = default;

LeaderTeam::LeaderTeam(ILeaderWork& work) : work(work), state(MakeState(0, 0)) {}

void LeaderTeam::Run(unsigned minimumLimit)
{
    {
        const MutexLock lock(mutex);
        maximumThreads += static_cast<int>(minimumLimit);
        EnsureFollower();
    }
    RunMember(0);
    current = {};
    // Once the team stops no members are added any more.
    std::vector<std::thread> members;
    {
        const MutexLock lock(mutex);
        members.swap(threads);
    }
    for (std::thread& thread : members)
    {
        thread.join();
    }
}

void LeaderTeam::ChangeLimit(int difference)
{
    const MutexLock lock(mutex);
    maximumThreads += difference;
    if (isFollowerMissing)
    {
        EnsureFollower();
    }
}

void LeaderTeam::Stop()
{
    {
        const MutexLock lock(mutex);
        isStopping = true;
        changed.NotifyAll();
    }
    work.Wake();
}

void LeaderTeam::RunMember(MemberId member)
{
    current = {this, member};
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

void LeaderTeam::Lead(MemberId member)
{
    while (IsLeader(member) && !isStopping)
    {
        RunGuarded(&ILeaderWork::RunOne);
    }
    // Work that was queued while leaving a blocking section is invisible to the waiting leader.
    RunGuarded(&ILeaderWork::Wake);
}

/// An exception that escaped would end the thread, and the loop with it.
void LeaderTeam::RunGuarded(void (ILeaderWork::*step)())
{
    try
    {
        (work.*step)();
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "a step of a loop failed: {0}", exception.what());
    }
    catch (...)
    {
        Log(LogLevel::Error, "a step of a loop failed with an exception of unknown type");
    }
}

bool LeaderTeam::Follow(MemberId member)
{
    const MutexLock lock(mutex);
    ++waitingFollowers;
    isFollowerMissing = false;
    while (!isStopping && hasWatcher)
    {
        changed.Wait(mutex);
    }
    --waitingFollowers;
    if (isStopping)
    {
        return false;
    }
    hasWatcher = true;
    const bool isLeader = Watch(member);
    hasWatcher = false;
    if (isLeader)
    {
        EnsureFollower();
        changed.NotifyOne();
    }
    return isLeader;
}

/// True when this member runs the loop from now on, false when the team stops.
bool LeaderTeam::Watch(MemberId member)
{
    std::uint64_t seenState = state.load();
    int quietPeriods = 0;
    while (!isStopping)
    {
        changed.WaitUntil(mutex, std::chrono::steady_clock::now() + watchPeriod);
        std::uint64_t newState = state.load();
        if (newState != seenState)
        {
            seenState = newState;
            quietPeriods = 0;
        }
        else if (IsInsideSection(newState))
        {
            if (state.compare_exchange_strong(newState, MakeState(member, newState + 1)))
            {
                return true;
            }
        }
        else if (++quietPeriods >= periodsUntilParking)
        {
            Park(seenState);
            quietPeriods = 0;
        }
    }
    return false;
}

void LeaderTeam::Park(std::uint64_t seenState)
{
    isParked = true;
    // A blocking section that began too early to see the flag is seen here instead.
    if (state.load() != seenState)
    {
        isParked = false;
        return;
    }
    while (!isStopping && isParked)
    {
        changed.Wait(mutex);
    }
    isParked = false;
}

void LeaderTeam::Unpark()
{
    const MutexLock lock(mutex);
    isParked = false;
    changed.NotifyAll();
}

void LeaderTeam::EnsureFollower()
{
    if (waitingFollowers > 0 || isStopping)
    {
        return;
    }
    isFollowerMissing = static_cast<int>(threads.size()) + 1 >= maximumThreads;
    if (isFollowerMissing)
    {
        return;
    }
    const MemberId member = threads.size() + 1;
    try
    {
        threads.emplace_back([this, member] { RunMember(member); });
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "cannot start a thread to take over when a call hangs: {0}", exception.what());
    }
}

bool LeaderTeam::IsLeader(MemberId member) const noexcept
{
    return state.load() >> memberShift == member;
}

LeaderTeam::BlockingSection::BlockingSection(LeaderTeam& team) noexcept : team(team)
{
    if (current.team != &team || !team.IsLeader(current.member) || IsInsideSection(team.state.load()))
    {
        return;
    }
    state = team.state.fetch_add(1) + 1;
    if (team.isParked)
    {
        team.Unpark();
    }
}

LeaderTeam::BlockingSection::~BlockingSection()
{
    // Fails when another thread has taken over the loop: its state must stay.
    std::uint64_t expected = state;
    if (state != 0)
    {
        team.state.compare_exchange_strong(expected, MakeState(current.member, state + 1));
    }
}

} // namespace Oxa::System::Commons::Threading
