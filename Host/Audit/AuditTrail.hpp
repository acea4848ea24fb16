#pragma once

#include "Host/Audit/AuditLimiter.hpp"
#include "Host/Audit/AuditRow.hpp"
#include "Host/Audit/AuditStore.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Threading/Backoff.hpp"
#include "Oxa/System/Nm/Notification.hpp"

#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::Host::Configuration
{
struct AuditConfiguration;
}

namespace Oxa::Host::Audit
{

/// Stores notifications in the audit trail's file: `Add` queues one, `Commit` returns when it is on the disk. As a
/// subscriber and its completion these make every publisher wait for that, in a blocking section, so a response leaves
/// after the row that tells of it; several publishers share one write. Rows of what no client waits for, such as states
/// of modules, are written with the next row, at the latest after 1 s. No thread of its own.
///
/// When the file cannot be written, this is logged once, nothing waits any more, and rows are kept in memory, up to a
/// bound; further ones are counted as lost. Writing is tried again after pauses that grow from 1 s to 60 s; then the
/// rows follow, between one of the kind AuditNotWritable and one of the kind AuditWritable. A disk that does not
/// respond counts as not writable after 2 s.
///
/// Threads: safe from any thread.
class AuditTrail final : private System::Commons::Diagnostics::Logging::Loggable<AuditTrail>
{
public:
    static constexpr std::size_t maximumQueued = 256;
    /// Of the events of a kind that clients cause at will, those that are stored at once; then one a minute.
    static constexpr unsigned burst = 60;

    /// `loop` is borrowed. The file is opened by the first `Commit`. `shortestPause`: before the second attempt,
    /// and before rows are written that nothing waits for.
    AuditTrail(const Configuration::AuditConfiguration& configuration, Threads::EventLoop& loop,
               std::chrono::milliseconds shortestPause = std::chrono::seconds(1));
    AuditTrail(const AuditTrail&) = delete;
    AuditTrail& operator=(const AuditTrail&) = delete;
    ~AuditTrail() = default;

    void Add(const System::Nm::Notification& notification);

    /// Returns when everything that was added before, and has to be waited for, is stored, or cannot be stored now.
    void Commit();

    /// False: what must leave a trace must not be done now.
    [[nodiscard]] bool IsWritable() const;

    /// False: so many commands of the user have failed that the failure of one more would be left out.
    [[nodiscard]] bool AdmitsFailureOf(const BasicString& userName) const;

    /// That the run before this one did not end in order, if so. `crashReport`: its last line, empty without one.
    /// Requires: this run has added no HostStarted.
    [[nodiscard]] std::optional<System::Nm::Notification> FindCrash(const BasicString& crashReport) const;

    [[nodiscard]] const BasicString& GetPath() const noexcept
    {
        return path;
    }

private:
    using Clock = std::chrono::steady_clock;

    void CommitUpTo(uint64 target);
    void PostFlush() OXA_REQUIRES(mutex);
    void Flush();
    [[nodiscard]] std::optional<std::vector<AuditRow>> BeginCommit(uint64 target);
    [[nodiscard]] BasicString TryAppend(std::vector<AuditRow>& rows) noexcept;
    void EndCommit(const BasicString& newFault, std::vector<AuditRow> rows);
    void OnStored() OXA_REQUIRES(mutex);
    void OnFault(const BasicString& newFault, std::vector<AuditRow> rows) OXA_REQUIRES(mutex);
    [[nodiscard]] AuditRow MakeRow(System::Nm::NotificationKind kind, std::string_view fieldName,
                                   const BasicString& value) const;
    void PostRetry() OXA_REQUIRES(mutex);
    [[nodiscard]] bool IsHanging() const OXA_REQUIRES(mutex);

    const BasicString path;
    const std::size_t maximumBytes;
    const BasicString bootId;
    Threads::EventLoop& loop;
    const Threads::EventLoop::Reserve reserve;
    // Used by handlers of the loop only.
    boost::asio::steady_timer retryTimer;
    boost::asio::steady_timer flushTimer;
    const std::chrono::milliseconds flushDelay;
    /// Used by the thread that has set `isCommitting`.
    std::optional<AuditStore> store;

    mutable System::Commons::Mutex mutex;
    System::Commons::ConditionVariable changed;
    AuditLimiter limiter OXA_GUARDED_BY(mutex){burst, std::chrono::minutes(1)};
    std::vector<AuditRow> queue OXA_GUARDED_BY(mutex);
    /// The number of rows ever queued, and of those that are stored or lost.
    uint64 queuedRows OXA_GUARDED_BY(mutex) = 0;
    uint64 settledRows OXA_GUARDED_BY(mutex) = 0;
    /// Of the rows ever queued, those up to the last one that a publisher waits for.
    uint64 awaitedRows OXA_GUARDED_BY(mutex) = 0;
    bool isFlushPosted OXA_GUARDED_BY(mutex) = false;
    bool isCommitting OXA_GUARDED_BY(mutex) = false;
    Clock::time_point commitBegin OXA_GUARDED_BY(mutex);
    bool isHangReported OXA_GUARDED_BY(mutex) = false;
    /// Why the file cannot be written; empty when it can.
    BasicString fault OXA_GUARDED_BY(mutex);
    uint64 lostRows OXA_GUARDED_BY(mutex) = 0;
    System::Commons::Threading::Backoff backoff OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Host::Audit
