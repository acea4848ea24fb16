#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace Oxa::System::Commons::Threading
{

/// What a LeaderTeam does: a loop, given as its step.
class OXA_EXPORT ILeaderWork
{
public:
    virtual ~ILeaderWork();

    /// Runs one unit of work, or waits until there is one or until `Wake`. Called by the team's leader only; what it
    /// throws is logged, and the loop goes on.
    virtual void RunOne() = 0;

    /// Makes a waiting `RunOne` return soon, or else the next one. Any thread. May throw only when memory is short.
    virtual void Wake() = 0;
};

/// The event loop of a program: a team of threads of which one, the leader, runs the loop. Foreign code, which may
/// hang, is called inside a `BlockingSection`; when one lasts longer than 5 to 10 ms, another thread of the team takes
/// over the loop, and the delayed thread rejoins the team when its call returns. So no second thread wakes up while all
/// calls are short, and all steps except what follows a blocking section run one after the other, each with the effects
/// of those before it visible. One second after the last blocking section the periodic check stops. Safe from any
/// thread.
class OXA_EXPORT LeaderTeam final : private Diagnostics::Logging::Loggable<LeaderTeam>
{
public:
    /// Borrows the work as long as it lives. Requires of the destructor: `Run` has returned or was never called.
    explicit LeaderTeam(ILeaderWork& work);
    LeaderTeam(const LeaderTeam&) = delete;
    LeaderTeam& operator=(const LeaderTeam&) = delete;

    /// Runs step after step until `Stop`, on this thread and others; returns when all threads of the team have ended.
    /// Once. `minimumLimit`, at least 1, plus all changes by `ChangeLimit` bounds the number of threads; the loop never
    /// stalls when the bound exceeds the number of blocking sections that may hang at the same time.
    void Run(unsigned minimumLimit);

    /// Raises or lowers the bound on the number of threads, because more or fewer blocking sections may hang.
    void ChangeLimit(int difference);

    /// No further step begins. Wakes a step that waits.
    void Stop();

    /// Spans a call of foreign code out of a step. Costs two atomic operations; does nothing inside another one and on
    /// threads that do not run the loop. After it the step must not touch the loop's data: another thread may run the
    /// loop by then.
    class OXA_EXPORT BlockingSection final
    {
    public:
        explicit BlockingSection(LeaderTeam& team) noexcept;
        BlockingSection(const BlockingSection&) = delete;
        BlockingSection& operator=(const BlockingSection&) = delete;
        ~BlockingSection();

    private:
        LeaderTeam& team;
        /// The team's state during the call; 0 when the thread does not run the loop.
        std::uint64_t state = 0;
    };

private:
    using MemberId = std::uint64_t;

    void RunMember(MemberId member);
    void Lead(MemberId member);
    void RunGuarded(void (ILeaderWork::*step)());
    [[nodiscard]] bool Follow(MemberId member);
    [[nodiscard]] bool Watch(MemberId member) OXA_REQUIRES(mutex);
    void Park(std::uint64_t seenState) OXA_REQUIRES(mutex);
    void Unpark();
    void EnsureFollower() OXA_REQUIRES(mutex);
    [[nodiscard]] bool IsLeader(MemberId member) const noexcept;

    ILeaderWork& work;
    std::atomic<std::uint64_t> state;
    std::atomic<bool> isParked = false;
    std::atomic<bool> isStopping = false;

    System::Commons::Mutex mutex;
    System::Commons::ConditionVariable changed;
    bool hasWatcher OXA_GUARDED_BY(mutex) = false;
    unsigned waitingFollowers OXA_GUARDED_BY(mutex) = 0;
    /// The bound was reached when a leader needed a follower; `ChangeLimit` makes up for it.
    bool isFollowerMissing OXA_GUARDED_BY(mutex) = false;
    int maximumThreads OXA_GUARDED_BY(mutex) = 0;
    std::vector<std::thread> threads OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::System::Commons::Threading
