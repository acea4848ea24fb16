#include "Oxa/System/Um/Internal/ApiTokenUses.hpp"

#include "Oxa/System/Um/Internal/UserDatabaseFile.hpp"

namespace Oxa::System::Um::Internal
{

using System::Commons::MutexLock;

void ApiTokenUses::Note(int64 apiTokenId, DateTime time)
{
    const MutexLock lock(mutex);
    times[apiTokenId] = time;
}

ApiTokenUses::Times ApiTokenUses::Get() const
{
    const MutexLock lock(mutex);
    return times;
}

void ApiTokenUses::Record(const BasicString& databasePath)
{
    const Times recorded = Get();
    if (recorded.empty())
    {
        return;
    }
    SqliteConnection connection = OpenUserDatabaseForWriting(databasePath);
    // A later commit, or the next checkpoint, makes it durable.
    connection.Execute("PRAGMA synchronous = NORMAL; PRAGMA busy_timeout = 0");
    SqliteTransaction transaction(connection, SqliteTransaction::Kind::Write);
    SqliteStatement update(connection, "UPDATE apiTokens SET lastUsed = ?2 WHERE number = ?1");
    for (const auto& [id, time] : recorded)
    {
        update.Run([] {}, id, time.ToUnixTimeMicroseconds());
    }
    transaction.Commit();
    const MutexLock lock(mutex);
    std::erase_if(times,
                  [&recorded](const auto& each)
                  {
                      const auto found = recorded.find(each.first);
                      return found != recorded.end() && found->second == each.second;
                  });
}

} // namespace Oxa::System::Um::Internal
