#include "Host/Audit/AuditTrail.hpp"

#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Commons/Exception.hpp"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

// `mutex` guards the queue and is never held while the file is used. At most one thread commits: the one that has set
// `isCommitting` takes the whole queue and uses `store` without a lock. Others wait for it, at most until it counts as
// hanging, and then commit what has been queued since. Nothing else is locked under the mutex but the log's.

namespace Oxa::Host::Audit
{

using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Nm::Notification;
using System::Nm::NotificationKind;

namespace
{

constexpr std::chrono::seconds longestPause{60};
/// A disk that takes longer counts as not writable.
constexpr std::chrono::seconds longestCommit{2};
constexpr const char* notificationSource = "Host.Audit";

/// False for what happens without a client that waits for its response.
bool IsAwaited(NotificationKind kind) noexcept
{
    switch (kind)
    {
    case NotificationKind::ModuleStateChanged:
    case NotificationKind::ServiceBack:
    case NotificationKind::ServiceLost:
    case NotificationKind::SessionExpired:
        return false;
    default:
        return true;
    }
}

} // namespace

AuditTrail::AuditTrail(const Configuration::AuditConfiguration& configuration, Threads::EventLoop& loop,
                       std::chrono::milliseconds shortestPause)
    : path(configuration.databasePath),
      maximumBytes(configuration.GetMaximumBytes()),
      bootId(ReadBootId()),
      loop(loop),
      reserve(loop),
      retryTimer(loop.GetContext()),
      flushTimer(loop.GetContext()),
      flushDelay(shortestPause),
      backoff(shortestPause, longestPause)
{
}

void AuditTrail::Add(const Notification& notification)
{
    const MutexLock lock(mutex);
    auto fields = limiter.Admit(notification, Clock::now());
    if (!fields)
    {
        return;
    }
    if (queue.size() >= maximumQueued)
    {
        ++lostRows;
        return;
    }
    Notification complete = notification;
    std::ranges::move(*fields, std::back_inserter(complete.fields));
    queue.push_back(MakeAuditRow(complete, bootId));
    ++queuedRows;
    if (IsAwaited(notification.kind))
    {
        awaitedRows = queuedRows;
    }
    else
    {
        PostFlush();
    }
}

void AuditTrail::PostFlush()
{
    if (std::exchange(isFlushPosted, true))
    {
        return;
    }
    boost::asio::post(loop.GetContext(),
                      [this]
                      {
                          flushTimer.expires_after(flushDelay);
                          flushTimer.async_wait(
                              [this](const boost::system::error_code& error)
                              {
                                  if (!error)
                                  {
                                      Flush();
                                  }
                              });
                      });
}

void AuditTrail::Flush()
{
    uint64 target = 0;
    {
        const MutexLock lock(mutex);
        isFlushPosted = false;
        target = queuedRows;
    }
    CommitUpTo(target);
}

void AuditTrail::Commit()
{
    uint64 target = 0;
    {
        const MutexLock lock(mutex);
        target = awaitedRows;
    }
    CommitUpTo(target);
}

void AuditTrail::CommitUpTo(uint64 target)
{
    const Threads::EventLoop::BlockingSection call(loop);
    while (auto rows = BeginCommit(target))
    {
        const BasicString newFault = TryAppend(*rows);
        EndCommit(newFault, std::move(*rows));
    }
}

/// The rows to store now, if the caller is to do it; nothing when the first `target` rows are settled, or cannot be
/// now.
std::optional<std::vector<AuditRow>> AuditTrail::BeginCommit(uint64 target)
{
    const MutexLock lock(mutex);
    while (isCommitting && settledRows < target)
    {
        if (IsHanging())
        {
            if (!std::exchange(isHangReported, true))
            {
                Log(LogLevel::Error, "the audit trail '{0}' has not responded for {1} s: commands are refused", path,
                    longestCommit.count());
            }
            return std::nullopt;
        }
        changed.WaitUntil(mutex, commitBegin + longestCommit);
    }
    if (settledRows >= target || (!fault.empty() && !backoff.IsDue(Clock::now())))
    {
        return std::nullopt;
    }
    if (!fault.empty())
    {
        queue.push_back(MakeRow(NotificationKind::AuditWritable, "lost", std::to_string(lostRows)));
    }
    isCommitting = true;
    commitBegin = Clock::now();
    return std::exchange(queue, {});
}

/// Why they could not be stored; empty when they were.
BasicString AuditTrail::TryAppend(std::vector<AuditRow>& rows) noexcept
{
    try
    {
        if (!store)
        {
            store.emplace(path, maximumBytes);
        }
        store->Append(rows);
        return {};
    }
    catch (...)
    {
        // The next attempt opens the file that is there then.
        store.reset();
        const BasicString cause = System::Commons::DescribeCurrentException();
        return cause.empty() ? "not enough memory" : cause;
    }
}

void AuditTrail::EndCommit(const BasicString& newFault, std::vector<AuditRow> rows)
{
    const MutexLock lock(mutex);
    isCommitting = false;
    isHangReported = false;
    changed.NotifyAll();
    if (!newFault.empty())
    {
        OnFault(newFault, std::move(rows));
        return;
    }
    settledRows += rows.size();
    if (!fault.empty())
    {
        OnStored();
    }
}

/// After a fault.
void AuditTrail::OnStored()
{
    // The last row tells of it.
    --settledRows;
    Log(LogLevel::Notice, "the audit trail '{0}' can be written again; {1} rows were lost", path, lostRows);
    fault.clear();
    lostRows = 0;
    backoff.Reset();
}

void AuditTrail::OnFault(const BasicString& newFault, std::vector<AuditRow> rows)
{
    if (fault.empty())
    {
        Log(LogLevel::Error, "the audit trail cannot be written, commands are refused: {0}", newFault);
        rows.push_back(MakeRow(NotificationKind::AuditNotWritable, "cause", newFault));
        ++queuedRows;
    }
    else
    {
        // Tells of a recovery that did not happen.
        rows.pop_back();
    }
    fault = newFault;
    std::ranges::move(queue, std::back_inserter(rows));
    queue = std::move(rows);
    if (queue.size() > maximumQueued)
    {
        lostRows += queue.size() - maximumQueued;
        settledRows += queue.size() - maximumQueued;
        queue.resize(maximumQueued);
    }
    backoff.Delay(Clock::now());
    PostRetry();
}

AuditRow AuditTrail::MakeRow(NotificationKind kind, std::string_view fieldName, const BasicString& value) const
{
    return MakeAuditRow({GetCurrentTime(), kind, notificationSource, {}, path, {{BasicString(fieldName), value}}},
                        bootId);
}

/// Only handlers of the loop use the timer.
void AuditTrail::PostRetry()
{
    const Clock::time_point next = backoff.GetNext();
    boost::asio::post(loop.GetContext(),
                      [this, next]
                      {
                          retryTimer.expires_at(next);
                          retryTimer.async_wait(
                              [this](const boost::system::error_code& error)
                              {
                                  if (!error)
                                  {
                                      Flush();
                                  }
                              });
                      });
}

bool AuditTrail::IsWritable() const
{
    const MutexLock lock(mutex);
    return fault.empty() && !IsHanging();
}

bool AuditTrail::AdmitsFailureOf(const BasicString& userName) const
{
    const MutexLock lock(mutex);
    return limiter.AdmitsFailureOf(userName, Clock::now());
}

bool AuditTrail::IsHanging() const
{
    return isCommitting && Clock::now() - commitBegin >= longestCommit;
}

/// A run that crashes before it has started leaves only the report.
std::optional<Notification> AuditTrail::FindCrash(const BasicString& crashReport) const
{
    std::optional<BasicString> openRun;
    try
    {
        openRun = AuditStore(path).FindOpenRun();
    }
    catch (const System::Commons::Exception&)
    {
        // There is no trail yet, or it cannot be read, which storing the first row reports.
    }
    if (!openRun && crashReport.empty())
    {
        return std::nullopt;
    }
    const BasicString lastBootId = openRun.value_or(bootId);
    const BasicString cause = !crashReport.empty()   ? crashReport
                              : lastBootId == bootId ? "the process ended without stopping"
                                                     : "the machine ended without stopping the host";
    return Notification{{},
                        NotificationKind::HostCrashed,
                        notificationSource,
                        {},
                        "the host",
                        {{"cause", cause}, {"lastBootId", lastBootId}}};
}

} // namespace Oxa::Host::Audit
