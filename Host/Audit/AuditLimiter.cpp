#include "Host/Audit/AuditLimiter.hpp"

#include <algorithm>
#include <string_view>

namespace Oxa::Host::Audit
{

using System::Nm::Notification;
using System::Nm::NotificationKind;

namespace
{

/// More users than this share the bounds of one.
constexpr std::size_t maximumBuckets = 1024;

bool HasOutcome(const Notification& notification, std::string_view outcome)
{
    return std::ranges::any_of(notification.fields, [outcome](const auto& field)
                               { return field.first == "outcome" && field.second == outcome; });
}

/// Empty for a kind without bounds. The user of a failed log-in is only claimed, so it gets no bucket.
std::optional<AuditLimiter::Key> FindKey(const Notification& notification)
{
    switch (notification.kind)
    {
    case NotificationKind::LogInFailed:
    case NotificationKind::LogInThrottled:
        return AuditLimiter::Key{notification.kind, {}};
    case NotificationKind::LoggedIn:
    case NotificationKind::LoggedOut:
    case NotificationKind::SessionExpired:
    case NotificationKind::SessionEndedByOther:
    case NotificationKind::CrossOriginRefused:
    case NotificationKind::RightsRefused:
    case NotificationKind::CommandRefused:
    case NotificationKind::PasswordConfirmed:
    case NotificationKind::PasswordConfirmationFailed:
        return AuditLimiter::Key{notification.kind, notification.user};
    case NotificationKind::CommandFailed:
        // One that may have been carried out is always recorded.
        return HasOutcome(notification, "unknown")
                   ? std::nullopt
                   : std::optional(AuditLimiter::Key{notification.kind, notification.user});
    default:
        return std::nullopt;
    }
}

} // namespace

std::optional<AuditLimiter::Fields> AuditLimiter::Admit(const Notification& notification, Clock::time_point now)
{
    auto key = FindKey(notification);
    if (!key)
    {
        return notification.kind == NotificationKind::HostStopped ? TakeLeftOut() : Fields();
    }
    if (buckets.size() >= maximumBuckets && !buckets.contains(*key))
    {
        ForgetFullBuckets(now);
        key->second = buckets.size() >= maximumBuckets ? BasicString() : std::move(key->second);
    }
    Bucket& bucket = buckets[*key];
    if (!HasPlace(bucket, now))
    {
        ++bucket.leftOut;
        return std::nullopt;
    }
    bucket.full = std::max(bucket.full, now) + interval;
    const uint64 leftOut = std::exchange(bucket.leftOut, 0);
    return leftOut > 0 ? Fields{{"leftOut", std::to_string(leftOut)}} : Fields();
}

bool AuditLimiter::AdmitsFailureOf(const BasicString& userName, Clock::time_point now) const
{
    const auto own = buckets.find({NotificationKind::CommandFailed, userName});
    const bool isShared = own == buckets.end() && buckets.size() >= maximumBuckets;
    const auto found = isShared ? buckets.find({NotificationKind::CommandFailed, {}}) : own;
    return found == buckets.end() || HasPlace(found->second, now);
}

bool AuditLimiter::HasPlace(const Bucket& bucket, Clock::time_point now) const
{
    return std::max(bucket.full, now) + interval - now <= burst * interval;
}

AuditLimiter::Fields AuditLimiter::TakeLeftOut()
{
    std::map<std::string_view, uint64> counts;
    for (auto& [key, bucket] : buckets)
    {
        if (bucket.leftOut > 0)
        {
            counts[System::Nm::GetNotificationKindName(key.first)] += std::exchange(bucket.leftOut, 0);
        }
    }
    Fields fields;
    for (const auto& [kindName, count] : counts)
    {
        fields.emplace_back("leftOut" + BasicString(kindName), std::to_string(count));
    }
    return fields;
}

void AuditLimiter::ForgetFullBuckets(Clock::time_point now)
{
    std::erase_if(buckets, [now](const auto& each) { return each.second.full <= now && each.second.leftOut == 0; });
}

} // namespace Oxa::Host::Audit
