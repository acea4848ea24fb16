#include "Host/Sessions/LogInThrottle.hpp"

#include "Oxa/System/Commons/Text.hpp"

#include <boost/asio/ip/address.hpp>
#include <sodium.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

// A bucket is one point in time: when its last place becomes free again. Each try moves it on by the time that one
// place takes, and there is no place when it is more than a minute ahead. Buckets whose time has come are like new.

namespace Oxa::Host::Sessions
{

using System::Commons::MutexLock;

namespace
{

constexpr std::chrono::minutes period{1};

/// The part of an address that its user cannot choose.
BasicString FindNetwork(std::string_view address)
{
    constexpr std::size_t networkBytes = 8;
    boost::system::error_code error;
    const auto parsed = boost::asio::ip::make_address(address, error);
    if (error || !parsed.is_v6() || parsed.to_v6().is_v4_mapped())
    {
        return BasicString(address.substr(address.rfind(':') + 1));
    }
    const auto bytes = parsed.to_v6().to_bytes();
    return {reinterpret_cast<const char*>(bytes.data()), networkBytes};
}

} // namespace

LogInThrottle::LogInThrottle(const Configuration::SessionConfiguration& configuration, Clock clock)
    : perAccount(configuration.wrongPasswordsPerAccount),
      perAddress(configuration.wrongPasswordsPerAddress),
      clock(std::move(clock))
{
    static_assert(std::tuple_size_v<decltype(hashKey)> == crypto_shorthash_KEYBYTES);
    randombytes_buf(hashKey.data(), hashKey.size());
}

LogInThrottle::Bucket LogInThrottle::MakeBucket(std::initializer_list<std::string_view> name, std::size_t limit,
                                                bool isBounded) const
{
    BasicString text;
    for (const std::string_view part : name)
    {
        // With its length, so that no two names are one text.
        text.append(std::to_string(part.size())).append(":").append(part);
    }
    uint64 key = 0;
    static_assert(sizeof key == crypto_shorthash_BYTES);
    crypto_shorthash(reinterpret_cast<unsigned char*>(&key), reinterpret_cast<const unsigned char*>(text.data()),
                     text.size(), hashKey.data());
    return {key, Duration(period) / static_cast<Duration::rep>(limit), isBounded};
}

void LogInThrottle::Begin(Try& given, const Buckets& buckets, std::size_t basicRank)
{
    const TimePoint now = clock();
    const MutexLock lock(mutex);
    Duration wait{};
    for (const Bucket& bucket : buckets)
    {
        const Duration over = GetDebt(bucket, now) + bucket.interval - Duration(period);
        wait = bucket.isBounded ? std::max(wait, over) : wait;
    }
    if (wait > Duration::zero())
    {
        given.retryAfter = std::chrono::ceil<std::chrono::seconds>(wait);
        return;
    }
    // Of the address or of the user.
    const Bucket& last = buckets[1];
    const Duration roundUp = last.interval - Duration(1);
    given.rank = basicRank + static_cast<std::size_t>((GetDebt(last, now) + roundUp) / last.interval);
    given.buckets = buckets;
    MakeSpace(now);
    for (const Bucket& bucket : buckets)
    {
        TimePoint& debt = debts[bucket.key];
        debt = std::max(debt, now) + bucket.interval;
    }
}

void LogInThrottle::GiveBack(const Buckets& buckets) noexcept
{
    const MutexLock lock(mutex);
    for (const Bucket& bucket : buckets)
    {
        if (const auto found = debts.find(bucket.key); found != debts.end())
        {
            found->second -= bucket.interval;
        }
    }
}

LogInThrottle::Duration LogInThrottle::GetDebt(const Bucket& bucket, TimePoint now) const
{
    const auto found = debts.find(bucket.key);
    return found == debts.end() ? Duration::zero() : std::max(found->second - now, Duration::zero());
}

/// For all buckets of one try.
void LogInThrottle::MakeSpace(TimePoint now)
{
    constexpr std::size_t maximumBefore = maximumBuckets - std::tuple_size_v<Buckets>;
    if (debts.size() <= maximumBefore)
    {
        return;
    }
    std::erase_if(debts, [now](const auto& each) { return each.second <= now; });
    if (debts.size() <= maximumBefore)
    {
        return;
    }
    // Half of them, so that it is not done for every try.
    std::vector<TimePoint> times;
    std::ranges::transform(debts, std::back_inserter(times), [](const auto& each) { return each.second; });
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::ranges::nth_element(times, middle);
    std::erase_if(debts, [time = *middle](const auto& each) { return each.second <= time; });
}

LogInThrottle::Try::Try(LogInThrottle& throttle, std::string_view account, std::string_view address)
    : throttle(throttle)
{
    const BasicString network = FindNetwork(address);
    const Bucket ofAccount =
        throttle.MakeBucket({"account", System::Commons::Text::FoldCase(account), network}, throttle.perAccount);
    const Bucket ofAddress = throttle.MakeBucket({"address", network}, throttle.perAddress);
    // Behind known browsers and sessions.
    throttle.Begin(*this, {ofAccount, ofAddress}, 1);
}

LogInThrottle::Try::Try(LogInThrottle& throttle, const KnownClient& client) : throttle(throttle)
{
    const Bucket ofClient = throttle.MakeBucket({"known", client.number}, throttle.perAccount);
    const Bucket ofUser =
        throttle.MakeBucket({"user", System::Commons::Text::FoldCase(client.account)}, throttle.perAddress, false);
    throttle.Begin(*this, {ofClient, ofUser}, 0);
}

LogInThrottle::Try::Try(LogInThrottle& throttle, const PasswordChange& change) : throttle(throttle)
{
    const BasicString user = System::Commons::Text::FoldCase(change.account);
    throttle.Begin(
        *this,
        {throttle.MakeBucket({"change", user}, 1), throttle.MakeBucket({"user", user}, throttle.perAddress, false)}, 0);
}

LogInThrottle::Try::~Try()
{
    throttle.GiveBack(buckets);
}

} // namespace Oxa::Host::Sessions
