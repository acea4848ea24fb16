#include "Oxa/System/Um/Internal/TokenTable.hpp"

#include <utility>

namespace Oxa::System::Um::Internal
{

using System::Commons::MutexLock;

TokenTable::TokenTable(std::function<uint32()> random) : random(std::move(random)) {}

SecurityToken TokenTable::Add(const Login& login)
{
    const MutexLock lock(mutex);
    MakeRoom(login.userNumber);
    const uint32 value = MakeTokenValue();
    entries.emplace(value, Entry{login, nextNumber++});
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

void TokenTable::RemoveUser(int64 userNumber) noexcept
{
    const MutexLock lock(mutex);
    std::erase_if(entries, [userNumber](const auto& entry) { return entry.second.login.userNumber == userNumber; });
}

uint32 TokenTable::MakeTokenValue() const
{
    // Ends soon: of four thousand million values at most `maximumTokens` are taken.
    uint32 value = 0;
    do
    {
        value = random();
    } while (value == 0 || entries.contains(value));
    return value;
}

void TokenTable::MakeRoom(int64 userNumber)
{
    std::size_t count = 0;
    auto oldest = entries.end();
    auto oldestOfUser = entries.end();
    const auto isOlder = [this](Entries::iterator left, Entries::iterator right)
    {
        return right == entries.end() || left->second.number < right->second.number;
    };
    for (auto current = entries.begin(); current != entries.end(); ++current)
    {
        oldest = isOlder(current, oldest) ? current : oldest;
        if (current->second.login.userNumber == userNumber)
        {
            ++count;
            oldestOfUser = isOlder(current, oldestOfUser) ? current : oldestOfUser;
        }
    }
    if (count >= maximumTokensPerUser)
    {
        entries.erase(oldestOfUser);
    }
    else if (entries.size() >= maximumTokens)
    {
        entries.erase(oldest);
    }
}

} // namespace Oxa::System::Um::Internal
