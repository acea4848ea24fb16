#include "Host/Sessions/SessionTable.hpp"

#include <sodium.h>

#include <utility>

namespace Oxa::Host::Sessions
{

using System::Commons::MutexLock;

namespace
{

constexpr std::chrono::seconds checkPeriod{1};
constexpr std::size_t randomBytes = 32;

BasicString CreateKey()
{
    constexpr int variant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
    std::array<unsigned char, randomBytes> random;
    randombytes_buf(random.data(), random.size());
    BasicString key(sodium_base64_ENCODED_LEN(randomBytes, variant), '\0');
    sodium_bin2base64(key.data(), key.size(), random.data(), random.size(), variant);
    sodium_memzero(random.data(), random.size());
    // Without the terminator.
    key.pop_back();
    return key;
}

} // namespace

SessionTable::SessionTable(const Configuration::SessionConfiguration& configuration, Clock clock)
    : configuration(configuration), clock(std::move(clock))
{
}

BasicString SessionTable::Add(System::Um::SecurityToken securityToken, const BasicString& userName)
{
    BasicString key = CreateKey();
    const TimePoint now = clock();
    const MutexLock lock(mutex);
    for (auto each = sessions.begin(); each != sessions.end();)
    {
        const auto current = each++;
        if (HasEnded(current->second, now))
        {
            End(current);
        }
    }
    EndLeastRecentlyUsed(&userName, configuration.maximumPerUser - 1);
    EndLeastRecentlyUsed(nullptr, configuration.maximumTotal - 1);
    sessions.emplace(Hash(key), Session{securityToken, userName, now, now, now});
    return key;
}

std::optional<SessionTable::Found> SessionTable::Find(std::string_view key)
{
    const KeyHash hash = Hash(key);
    const TimePoint now = clock();
    const MutexLock lock(mutex);
    const auto found = sessions.find(hash);
    if (found == sessions.end())
    {
        return std::nullopt;
    }
    Session& session = found->second;
    if (HasEnded(session, now))
    {
        End(found);
        return std::nullopt;
    }
    session.lastUsed = now;
    const bool isCheckDue = now - session.lastChecked >= checkPeriod;
    if (isCheckDue)
    {
        session.lastChecked = now;
    }
    const auto remaining =
        std::chrono::duration_cast<std::chrono::seconds>(session.created + configuration.lifetime - now);
    return Found{session.securityToken, session.userName, remaining, isCheckDue};
}

std::optional<SessionTable::Session> SessionTable::Remove(std::string_view key)
{
    const KeyHash hash = Hash(key);
    const MutexLock lock(mutex);
    const auto found = sessions.find(hash);
    if (found == sessions.end())
    {
        return std::nullopt;
    }
    std::optional session = std::move(found->second);
    sessions.erase(found);
    return session;
}

std::vector<SessionTable::Session> SessionTable::TakeEnded()
{
    const MutexLock lock(mutex);
    return std::exchange(ended, {});
}

std::vector<SessionTable::Session> SessionTable::TakeAll()
{
    const MutexLock lock(mutex);
    while (!sessions.empty())
    {
        End(sessions.begin());
    }
    return std::exchange(ended, {});
}

SessionTable::KeyHash SessionTable::Hash(std::string_view key) noexcept
{
    KeyHash hash;
    crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(key.data()), key.size(),
                       nullptr, 0);
    return hash;
}

bool SessionTable::HasEnded(const Session& session, TimePoint now) const noexcept
{
    return now - session.lastUsed >= configuration.idleTimeout || now - session.created >= configuration.lifetime;
}

void SessionTable::End(Sessions::iterator session)
{
    ended.push_back(std::move(session->second));
    sessions.erase(session);
}

void SessionTable::EndLeastRecentlyUsed(const BasicString* userName, std::size_t maximum)
{
    std::size_t count = 0;
    auto oldest = sessions.end();
    for (auto each = sessions.begin(); each != sessions.end(); ++each)
    {
        if (userName != nullptr && each->second.userName != *userName)
        {
            continue;
        }
        ++count;
        if (oldest == sessions.end() || each->second.lastUsed < oldest->second.lastUsed)
        {
            oldest = each;
        }
    }
    if (count > maximum)
    {
        End(oldest);
    }
}

} // namespace Oxa::Host::Sessions
