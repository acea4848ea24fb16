#include "Host/Sessions/SessionTable.hpp"

#include "Oxa/System/Commons/Text.hpp"

#include <sodium.h>

#include <algorithm>
#include <cstring>
#include <tuple>
#include <utility>

namespace Oxa::Host::Sessions
{

using System::Commons::MutexLock;

namespace
{

constexpr std::chrono::seconds confirmationTime{60};

bool IsRecent(const std::optional<SessionTable::TimePoint>& confirmed, SessionTable::TimePoint now)
{
    return confirmed && now - *confirmed < confirmationTime;
}

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

BasicString FormatSessionId(SessionId id)
{
    return System::Commons::Text::Format("{0:016x}", id);
}

SessionTable::SessionTable(const Configuration::SessionConfiguration& configuration, Clock clock)
    : configuration(configuration), clock(std::move(clock))
{
}

std::optional<BasicString> SessionTable::Add(LogIn logIn)
{
    BasicString key = CreateKey();
    const KeyHash hash = Hash(key);
    SessionId id = 0;
    std::memcpy(&id, hash.data(), sizeof id);
    const TimePoint now = clock();
    const MutexLock lock(mutex);
    EndThoseThatExpired(now);
    if (!TryMakeSpace(logIn.userName))
    {
        return std::nullopt;
    }
    sessions.emplace(hash, Session{id, std::move(logIn), now, now});
    return key;
}

std::optional<SessionTable::Found> SessionTable::Find(std::string_view key, bool isUse)
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
        End(found, "the session expired");
        return std::nullopt;
    }
    session.lastUsed = isUse ? now : session.lastUsed;
    using std::chrono::floor;
    using std::chrono::seconds;
    const auto lifetime = floor<seconds>(session.created + configuration.lifetime - now);
    const auto idleTime = floor<seconds>(session.lastUsed + configuration.idleTimeout - now);
    return Found{session.id, session.logIn.securityToken, session.logIn.userName, lifetime,
                 std::min(idleTime, lifetime)};
}

std::optional<SessionTable::Session> SessionTable::Remove(std::string_view key)
{
    const KeyHash hash = Hash(key);
    const MutexLock lock(mutex);
    const auto found = sessions.find(hash);
    return found == sessions.end() ? std::nullopt : std::optional(Take(found));
}

std::optional<SessionTable::Session> SessionTable::Remove(SessionId id, const BasicString* userName)
{
    const MutexLock lock(mutex);
    const auto found = Find(id);
    const bool isMeant = found != sessions.end() && (userName == nullptr || found->second.logIn.userName == *userName);
    return isMeant ? std::optional(Take(found)) : std::nullopt;
}

std::vector<SessionTable::Session> SessionTable::RemoveUser(std::string_view userName)
{
    std::vector<Session> removed;
    const MutexLock lock(mutex);
    for (auto each = sessions.begin(); each != sessions.end();)
    {
        const auto current = each++;
        if (current->second.logIn.userName == userName)
        {
            removed.push_back(Take(current));
        }
    }
    return removed;
}

std::vector<SessionTable::Entry> SessionTable::List(const BasicString* userName)
{
    using std::chrono::floor;
    using std::chrono::seconds;
    std::vector<Entry> entries;
    const TimePoint now = clock();
    {
        const MutexLock lock(mutex);
        EndThoseThatExpired(now);
        for (const auto& [hash, session] : sessions)
        {
            if (userName == nullptr || session.logIn.userName == *userName)
            {
                entries.push_back(
                    {session, floor<seconds>(now - session.created), floor<seconds>(now - session.lastUsed)});
            }
        }
    }
    std::ranges::sort(entries, {}, [](const Entry& each) { return std::tuple(each.session.created, each.session.id); });
    return entries;
}

void SessionTable::Confirm(SessionId id)
{
    const TimePoint now = clock();
    const MutexLock lock(mutex);
    if (const auto found = Find(id); found != sessions.end())
    {
        found->second.confirmed = now;
    }
}

bool SessionTable::HasConfirmation(SessionId id)
{
    const TimePoint now = clock();
    const MutexLock lock(mutex);
    const auto found = Find(id);
    return found != sessions.end() && IsRecent(found->second.confirmed, now);
}

bool SessionTable::TakeConfirmation(SessionId id)
{
    const TimePoint now = clock();
    const MutexLock lock(mutex);
    const auto found = Find(id);
    const bool isConfirmed = found != sessions.end() && IsRecent(found->second.confirmed, now);
    if (isConfirmed)
    {
        found->second.confirmed.reset();
    }
    return isConfirmed;
}

std::vector<SessionTable::Ended> SessionTable::TakeEnded()
{
    const MutexLock lock(mutex);
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

SessionTable::Sessions::iterator SessionTable::Find(SessionId id)
{
    return std::ranges::find_if(sessions, [id](const auto& each) { return each.second.id == id; });
}

SessionTable::Session SessionTable::Take(Sessions::iterator session)
{
    Session taken = std::move(session->second);
    sessions.erase(session);
    return taken;
}

void SessionTable::End(Sessions::iterator session, const char* cause)
{
    ended.push_back({Take(session), cause});
}

void SessionTable::EndThoseThatExpired(TimePoint now)
{
    for (auto each = sessions.begin(); each != sessions.end();)
    {
        const auto current = each++;
        if (HasEnded(current->second, now))
        {
            End(current, "the session expired");
        }
    }
}

/// For one more session of the user. Of the sessions that may end, the one goes whose user would have most of them,
/// then one of the user's own, then the least recently used one.
bool SessionTable::TryMakeSpace(const BasicString& userName)
{
    std::map<std::string_view, std::size_t> counts = {{userName, 1}};
    for (const auto& [hash, session] : sessions)
    {
        ++counts[session.logIn.userName];
    }
    const bool hasTooMany = counts[userName] > configuration.maximumPerUser;
    if (!hasTooMany && sessions.size() < configuration.maximumTotal)
    {
        return true;
    }
    auto last = sessions.end();
    std::tuple<std::size_t, bool, TimePoint::duration> greatest = {1, false, TimePoint::duration::min()};
    for (auto each = sessions.begin(); each != sessions.end(); ++each)
    {
        const Session& session = each->second;
        const bool isOwn = session.logIn.userName == userName;
        const std::size_t count = counts[session.logIn.userName];
        const std::tuple rank(count, isOwn, -session.lastUsed.time_since_epoch());
        if (count > 1 && (isOwn || !hasTooMany) && rank > greatest)
        {
            greatest = rank;
            last = each;
        }
    }
    if (last == sessions.end())
    {
        return false;
    }
    End(last, "the user has logged in too often");
    return true;
}

} // namespace Oxa::Host::Sessions
