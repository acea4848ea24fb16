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

class ILeaderWork;

/// Runs a loop by a team of threads of which one, the leader, runs it at a time. Code of others, which may hang, is
/// called inside a `BlockingSection`; when one lasts longer than 5 to 10 ms, another thread of the team takes the loop
/// over, and the one that hung goes back to the team when it is through. So nothing wakes a second thread as long as
/// everybody is quick, and all steps but what comes out of a foreign call run one after the other, each seeing what
/// those before it did. A second after the last foreign call nothing wakes up periodically any more. Threads:
/// everything is safe from any thread.
class OXA_EXPORT LeaderTeam final : private Diagnostics::Logging::Loggable<LeaderTeam>
{
public:
    /// Borrows the work as long as it lives.
    explicit LeaderTeam(ILeaderWork& work);
    LeaderTeam(const LeaderTeam&) = delete;
    LeaderTeam& operator=(const LeaderTeam&) = delete;

    /// Requires: `Run` has returned or was never called.
    ~LeaderTeam();

    /// Runs step after step until `Stop`, on this thread and others; returns when all threads of the team are through.
    /// Once. `minimumLimit`, at least 1, and what was added to it bound the number of threads; one more than there may
    /// be foreign calls that hang at the same time keeps the loop going.
    void Run(unsigned minimumLimit);

    /// Raises or lowers the bound on the number of threads, because there may be more or fewer foreign calls that hang.
    void ChangeLimit(int difference);

    /// No step begins any more. Wakes the one that waits.
    void Stop();

    /// Spans a call of foreign code out of a step; not inside another one. Costs two atomic operations; does nothing on
    /// threads that do not run the loop. A step that had one must touch nothing of the loop behind it: another thread
    /// may run the loop by then.
    class OXA_EXPORT BlockingSection final
    {
    public:
        explicit BlockingSection(LeaderTeam& team) noexcept;
        BlockingSection(const BlockingSection&) = delete;
        BlockingSection& operator=(const BlockingSection&) = delete;
        ~BlockingSection();

    private:
        LeaderTeam& team;
        /// The team's state inside the call; 0 when the thread does not run the loop.
        std::uint64_t state = 0;
    };

private:
    using MemberNumber = std::uint64_t;

    void RunMember(MemberNumber member);
    void Lead(MemberNumber member);
    template <class Step>
    void RunGuarded(const Step& step);
    [[nodiscard]] bool Follow(MemberNumber member);
    [[nodiscard]] bool Watch(MemberNumber member) OXA_REQUIRES(mutex);
    void Park(std::uint64_t seenState) OXA_REQUIRES(mutex);
    void Unpark();
    void EnsureFollower() OXA_REQUIRES(mutex);
    [[nodiscard]] bool IsLeader(MemberNumber member) const noexcept;

    ILeaderWork& work;
    /// Who runs the loop and whether in a foreign call: member number in the upper bits, below it a counter that every
    /// begin and end of a call moves on by one, so that an odd one means inside.
    std::atomic<std::uint64_t> state;
    std::atomic<bool> isParked = false;
    std::atomic<bool> isStopping = false;

    System::Commons::Mutex mutex;
    System::Commons::ConditionVariable changed;
    bool hasWatcher OXA_GUARDED_BY(mutex) = false;
    unsigned waitingFollowers OXA_GUARDED_BY(mutex) = 0;
    /// There was no thread to make when the leader took over: all others hang.
    bool isFollowerMissing OXA_GUARDED_BY(mutex) = false;
    int maximumThreads OXA_GUARDED_BY(mutex) = 0;
    std::vector<std::thread> threads OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::System::Commons::Threading
