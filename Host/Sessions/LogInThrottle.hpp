#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace Oxa::Host::Sessions
{

/// Bounds how many passwords are checked, by token buckets. Every try needs a place in the bucket of its account and
/// address, and in that of its address; addresses of version 6 count by their first 64 bits. An account has no bucket
/// over all addresses, so its user cannot be locked out from other addresses. A try from a known browser, or within a
/// session, needs a place in the bucket of that only; how many of these its user has decides when it comes. Changes of
/// the own password have a bucket for each user. The throttle knows no users: unknown names count like known ones.
/// Threads: safe from any thread.
class LogInThrottle final
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Clock = std::function<TimePoint()>;

    /// When there are more, the half with the fewest places taken is forgotten.
    static constexpr std::size_t maximumBuckets = 4096;

    class Try;

    /// A browser in which the account's user has logged in before, or a session.
    struct KnownClient
    {
        std::string_view number;
        std::string_view account;
    };

    /// By the account's user, who knows the present one. Unbounded ones would displace the audit trail.
    struct PasswordChange
    {
        std::string_view account;
    };

    explicit LogInThrottle(
        const Configuration::SessionConfiguration& configuration,
        Clock clock = [] { return std::chrono::steady_clock::now(); });
    LogInThrottle(const LogInThrottle&) = delete;
    LogInThrottle& operator=(const LogInThrottle&) = delete;

private:
    using Duration = std::chrono::steady_clock::duration;

    struct Bucket
    {
        uint64 key = 0;
        /// For one place.
        Duration interval{};
        /// Else its places have no end: they are only counted.
        bool isBounded = true;
    };

    /// The places taken in the second one make the rank.
    using Buckets = std::array<Bucket, 2>;

    [[nodiscard]] Bucket MakeBucket(std::initializer_list<std::string_view> name, std::size_t limit,
                                    bool isBounded = true) const;
    void Begin(Try& given, const Buckets& buckets, std::size_t basicRank);
    void GiveBack(const Buckets& buckets) noexcept;
    [[nodiscard]] Duration GetDebt(const Bucket& bucket, TimePoint now) const OXA_REQUIRES(mutex);
    void MakeSpace(TimePoint now) OXA_REQUIRES(mutex);

    const std::size_t perAccount;
    const std::size_t perAddress;
    const Clock clock;
    /// Of the buckets' keys: clients cannot choose names that share a bucket.
    std::array<unsigned char, 16> hashKey;
    System::Commons::Mutex mutex;
    /// When all places of a bucket are free again, by its key; the places of a bucket that is missing are free.
    std::unordered_map<uint64, TimePoint> debts OXA_GUARDED_BY(mutex);
};

/// One password that is going to be checked or changed. Holds its places until it ends; after `KeepPlaces` they become
/// free with time only. The throttle must outlive it. Threads: one at a time.
class LogInThrottle::Try final
{
public:
    /// Accounts are compared without case. `address`: an IP address.
    Try(LogInThrottle& throttle, std::string_view account, std::string_view address);

    Try(LogInThrottle& throttle, const KnownClient& client);

    /// One in a minute.
    Try(LogInThrottle& throttle, const PasswordChange& change);

    Try(const Try&) = delete;
    Try& operator=(const Try&) = delete;
    ~Try();

    /// Set when there is no place: the time until there is one, at least one second.
    [[nodiscard]] const std::optional<std::chrono::seconds>& GetRetryAfter() const noexcept
    {
        return retryAfter;
    }

    /// Among tries that wait, those with a smaller number go first: addresses that guess wait for those that do not,
    /// and users who send many at once for those who do not.
    [[nodiscard]] std::size_t GetRank() const noexcept
    {
        return rank;
    }

    /// The password was wrong, or was changed.
    void KeepPlaces() noexcept
    {
        buckets = {};
    }

private:
    friend class LogInThrottle;

    LogInThrottle& throttle;
    Buckets buckets;
    std::size_t rank = 0;
    std::optional<std::chrono::seconds> retryAfter;
};

} // namespace Oxa::Host::Sessions
