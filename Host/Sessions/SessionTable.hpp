#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <functional>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Oxa::Host::Sessions
{

/// The sessions of users who are logged in. A session is found by its key, 256 random bits in base64url, of which only
/// a hash is kept: a copy of this process's memory gives access to no session. Safe from any thread.
class SessionTable final
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Clock = std::function<TimePoint()>;

    struct Session
    {
        System::Um::SecurityToken securityToken;
        BasicString userName;
        TimePoint created;
        TimePoint lastUsed;
        TimePoint lastChecked;
    };

    struct Found
    {
        System::Um::SecurityToken securityToken;
        BasicString userName;
        std::chrono::seconds remainingLifetime{0};
        /// At most once a second: time to check whether the user still exists.
        bool isCheckDue = false;
    };

    explicit SessionTable(
        const Configuration::SessionConfiguration& configuration,
        Clock clock = [] { return std::chrono::steady_clock::now(); });
    SessionTable(const SessionTable&) = delete;
    SessionTable& operator=(const SessionTable&) = delete;

    /// The key of the new session. When there are too many, the least recently used one of the user or of all ends.
    [[nodiscard]] BasicString Add(System::Um::SecurityToken securityToken, const BasicString& userName);

    /// Counts as use. Empty for an unknown key and for a session that has ended.
    [[nodiscard]] std::optional<Found> Find(std::string_view key);

    [[nodiscard]] std::optional<Session> Remove(std::string_view key);

    /// Removes and returns the sessions that have ended by time or by number.
    [[nodiscard]] std::vector<Session> TakeEnded();

    /// Removes and returns all sessions.
    [[nodiscard]] std::vector<Session> TakeAll();

private:
    using KeyHash = std::array<unsigned char, 32>;

    struct HashOfKeyHash
    {
        std::size_t operator()(const KeyHash& hash) const noexcept
        {
            std::size_t value = 0;
            std::memcpy(&value, hash.data(), sizeof value);
            return value;
        }
    };

    using Sessions = std::unordered_map<KeyHash, Session, HashOfKeyHash>;

    [[nodiscard]] static KeyHash Hash(std::string_view key) noexcept;
    [[nodiscard]] bool HasEnded(const Session& session, TimePoint now) const noexcept;
    void End(Sessions::iterator session) OXA_REQUIRES(mutex);
    /// Of one user, or of all for null.
    void EndLeastRecentlyUsed(const BasicString* userName, std::size_t maximum) OXA_REQUIRES(mutex);

    const Configuration::SessionConfiguration configuration;
    const Clock clock;
    System::Commons::Mutex mutex;
    Sessions sessions OXA_GUARDED_BY(mutex);
    std::vector<Session> ended OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Host::Sessions
