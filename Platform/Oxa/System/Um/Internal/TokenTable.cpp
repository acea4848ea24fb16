#include "Oxa/System/Um/Internal/TokenTable.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::System::Um::Internal
{

using System::Commons::MutexLock;

namespace
{

bool IsOfUser(const Login& login, int64 userId) noexcept
{
    return login.id == userId && !login.isApiToken;
}

} // namespace

TokenTable::TokenTable(std::function<uint32()> random) : random(std::move(random)) {}

SecurityToken TokenTable::Add(const Login& login)
{
    const MutexLock lock(mutex);
    return AddLocked(login);
}

SecurityToken TokenTable::FindOrAdd(const Login& login)
{
    const MutexLock lock(mutex);
    const auto found = std::ranges::find(entries, login, [](const auto& entry) { return entry.second.login; });
    return found != entries.end() ? SecurityToken(found->first) : AddLocked(login);
}

SecurityToken TokenTable::AddLocked(const Login& login)
{
    const auto isOfUser = [&login](const auto& entry)
    {
        return IsOfUser(entry.second.login, login.id) && !login.isApiToken;
    };
    if (std::ranges::count_if(entries, isOfUser) >= static_cast<std::ptrdiff_t>(maximumTokensPerUser))
    {
        EraseOldest(isOfUser);
    }
    else if (entries.size() >= maximumTokens)
    {
        EraseOldest([](const auto& /*entry*/) { return true; });
    }
    const uint32 value = MakeTokenValue();
    entries.emplace(value, Entry{login, nextSequence++});
    return SecurityToken(value);
}

std::optional<Login> TokenTable::TryGet(SecurityToken token) const
{
    const MutexLock lock(mutex);
    const auto found = entries.find(token.GetValue());
    return found != entries.end() ? std::optional(found->second.login) : std::nullopt;
}

void TokenTable::Remove(SecurityToken token) noexcept
{
    const MutexLock lock(mutex);
    entries.erase(token.GetValue());
}

void TokenTable::RemoveUser(int64 userId) noexcept
{
    const MutexLock lock(mutex);
    std::erase_if(entries, [userId](const auto& entry) { return IsOfUser(entry.second.login, userId); });
}

uint32 TokenTable::MakeTokenValue() const
{
    // Few repetitions: of 2^32 values at most `maximumTokens` are taken.
    uint32 value = 0;
    do
    {
        value = random();
    } while (value == 0 || entries.contains(value));
    return value;
}

template <class Predicate>
void TokenTable::EraseOldest(Predicate isCandidate)
{
    auto oldest = entries.end();
    for (auto current = entries.begin(); current != entries.end(); ++current)
    {
        if (isCandidate(*current) && (oldest == entries.end() || current->second.sequence < oldest->second.sequence))
        {
            oldest = current;
        }
    }
    entries.erase(oldest);
}

} // namespace Oxa::System::Um::Internal
