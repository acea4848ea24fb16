#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <map>

namespace Oxa::System::Um::Internal
{

/// When API tokens were last used: kept in memory at each use, since a write to the disk for each request would be too
/// slow, and recorded in the database from time to time. Threads: safe from any thread.
class ApiTokenUses final
{
public:
    /// By the ids of the API tokens.
    using Times = std::map<int64, DateTime>;

    void Note(int64 apiTokenId, DateTime time);

    /// As far as they are not recorded.
    [[nodiscard]] Times Get() const;

    /// Writes them, if there are any, into the database. Waits for the disk, but not for another writer; throws as
    /// `OpenUserDatabaseForWriting`, and what was not written is left to the next call.
    void Record(const BasicString& databasePath);

private:
    mutable Commons::Mutex mutex;
    Times times OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::System::Um::Internal
