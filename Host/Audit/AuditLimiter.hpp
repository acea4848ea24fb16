#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Nm/Notification.hpp"

#include <chrono>
#include <map>
#include <utility>

namespace Oxa::Host::Audit
{

/// Keeps what strangers and users can cause at will from displacing the other rows of a bounded trail: 60 events of a
/// kind at once, then one a minute; log-ins and the like of each user have bounds of their own, so that no stranger can
/// hide them. Commands that are refused, or fail and were certainly not carried out, are bounded for each user too; the
/// request for a command is left out where its failure would be. Commands that were carried out, changes of users,
/// certificates, configuration and the like are never left out. What is left out is counted. Knows no clock; time is
/// passed in. Threads: one at a time.
class AuditLimiter final
{
public:
    using Clock = std::chrono::steady_clock;
    using Key = std::pair<System::Nm::NotificationKind, BasicString>;

    static constexpr unsigned burst = 60;
    static constexpr std::chrono::minutes interval{1};

    struct Admission
    {
        bool isAdmitted = true;
        /// How many of the same were left out since the last one that was admitted.
        uint64 leftOut = 0;
    };

    [[nodiscard]] Admission Admit(const System::Nm::Notification& notification, Clock::time_point now);

    /// What was left out and is in no admission yet, by the name of the kind; that then counts as told.
    [[nodiscard]] std::map<BasicString, uint64> TakeLeftOut();

private:
    /// A token bucket, as the time at which it is full again.
    struct Bucket
    {
        Clock::time_point full;
        uint64 leftOut = 0;
    };

    void ForgetFullBuckets(Clock::time_point now);

    std::map<Key, Bucket> buckets;
};

} // namespace Oxa::Host::Audit
