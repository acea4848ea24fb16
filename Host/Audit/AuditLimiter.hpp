#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Nm/Notification.hpp"

#include <chrono>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace Oxa::Host::Audit
{

/// Keeps what strangers and users can cause at will from displacing the rest of a bounded trail, and from flooding the
/// log: so many events of a kind at once, then one for each interval; log-ins, refusals and the like of each user have
/// bounds of their own, so that no other user and no stranger can hide them. Commands that are refused, or fail and
/// were certainly not carried out, are bounded for each user too; a command whose failure would be left out is to be
/// refused. Commands that were requested or carried out, changes of users, certificates, configuration and the like are
/// never left out. What is left out is counted. Knows no clock; time is passed in. Threads: one at a time.
class AuditLimiter final
{
public:
    using Clock = std::chrono::steady_clock;
    using Key = std::pair<System::Nm::NotificationKind, BasicString>;
    using Fields = std::vector<std::pair<BasicString, BasicString>>;

    AuditLimiter(unsigned burst, Clock::duration interval) : burst(burst), interval(interval) {}

    /// Fields to add to the notification; nothing when it is left out. "leftOut" is the number of the same that were
    /// left out since the last one that was admitted; in HostStopped "leftOutKIND" is that of the others.
    [[nodiscard]] std::optional<Fields> Admit(const System::Nm::Notification& notification, Clock::time_point now);

    /// Whether a command of the user that fails now would be admitted.
    [[nodiscard]] bool AdmitsFailureOf(const BasicString& userName, Clock::time_point now) const;

private:
    /// A token bucket, as the time at which it is full again.
    struct Bucket
    {
        Clock::time_point full;
        uint64 leftOut = 0;
    };

    [[nodiscard]] bool HasPlace(const Bucket& bucket, Clock::time_point now) const;
    [[nodiscard]] Fields TakeLeftOut();
    void ForgetFullBuckets(Clock::time_point now);

    const unsigned burst;
    const Clock::duration interval;
    std::map<Key, Bucket> buckets;
};

} // namespace Oxa::Host::Audit
