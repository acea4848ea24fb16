#include "Oxa/System/Commons/Threading/LeaderTeam.hpp"

#include "Oxa/System/Commons/Threading/ILeaderWork.hpp"

#include <chrono>
#include <exception>

namespace Oxa::System::Commons::Threading
{

using Diagnostics::Logging::LogLevel;

namespace
{

/// A call that the watcher sees unfinished twice in a row has lasted at least this long.
constexpr std::chrono::milliseconds watchPeriod{5};
/// Without a call for this many periods the watcher sleeps until there is one again.
constexpr int periodsUntilParking = 200;

constexpr unsigned memberShift = 48;
constexpr std::uint64_t counterMask = (std::uint64_t{1} << memberShift) - 1;

// Which member of which team the thread is.
thread_local LeaderTeam* currentTeam = nullptr;
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

ILeaderWork::~ILeaderWork() = default;

LeaderTeam::LeaderTeam(ILeaderWork& work) : work(work), state(MakeState(0, 0)) {}

LeaderTeam::~LeaderTeam() = default;

void LeaderTeam::Run(unsigned minimumLimit)
{
    {
        const MutexLock lock(mutex);
        maximumThreads += static_cast<int>(minimumLimit);
        EnsureFollower();
    }
    currentTeam = this;
    RunMember(0);
    currentTeam = nullptr;
    // Once the team stops no members are added any more.
    for (std::size_t index = 0;; ++index)
    {
        std::thread thread;
        {
            const MutexLock lock(mutex);
            if (index == threads.size())
            {
                return;
            }
            thread.swap(threads[index]);
        }
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

void LeaderTeam::RunMember(MemberNumber member)
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

void LeaderTeam::Lead(MemberNumber member)
{
    while (IsLeader(member) && !isStopping)
    {
        RunGuarded([this] { work.RunOne(); });
    }
    // What this thread left to do on its last way out of a foreign call is known to nobody who waits.
    RunGuarded([this] { work.Wake(); });
}

/// The border of the work: a thread that ended here would take the loop along.
template <class Step>
void LeaderTeam::RunGuarded(const Step& step)
{
    try
    {
        step();
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

bool LeaderTeam::Follow(MemberNumber member)
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
bool LeaderTeam::Watch(MemberNumber member)
{
    std::uint64_t seenState = state.load();
    int quietPeriods = 0;
    while (!isStopping)
    {
        changed.WaitUntil(mutex, std::chrono::steady_clock::now() + watchPeriod);
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
            Park(seenState);
            quietPeriods = 0;
        }
    }
    return false;
}

void LeaderTeam::Park(std::uint64_t seenState)
{
    isParked = true;
    // A call that began before it could see the flag is seen here instead.
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
    const MemberNumber member = threads.size() + 1;
    try
    {
        threads.emplace_back(
            [this, member]
            {
                currentTeam = this;
                RunMember(member);
            });
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "no thread to take over when a call hangs: {0}", exception.what());
    }
}

bool LeaderTeam::IsLeader(MemberNumber member) const noexcept
{
    return state.load() >> memberShift == member;
}

LeaderTeam::BlockingSection::BlockingSection(LeaderTeam& team) noexcept : team(team)
{
    if (currentTeam != &team || !team.IsLeader(currentMember))
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
    // Fails when another thread has taken the loop over: then that one's state must stay.
    std::uint64_t expected = state;
    if (state != 0)
    {
        team.state.compare_exchange_strong(expected, MakeState(currentMember, state + 1));
    }
}

} // namespace Oxa::System::Commons::Threading
