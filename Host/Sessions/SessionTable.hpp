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

/// Who is logged in. A session is found by its key, 256 random bits in base64url, of which only a hash is kept: what
/// can be read out of this process opens no session. Safe from any thread.
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
        /// At most once a second: time to ask whether the user is still there.
        bool isCheckDue = false;
    };

    explicit SessionTable(
        const Configuration::SessionConfiguration& configuration,
        Clock clock = [] { return std::chrono::steady_clock::now(); });
    SessionTable(const SessionTable&) = delete;
    SessionTable& operator=(const SessionTable&) = delete;

    /// The key of the new session. When there are too many, those of the user or of all that were not used for longest
    /// end.
    [[nodiscard]] BasicString Add(System::Um::SecurityToken securityToken, const BasicString& userName);

    /// Counts as use. Nothing for a key that is no session's or of one that has ended.
    [[nodiscard]] std::optional<Found> Find(std::string_view key);

    [[nodiscard]] std::optional<Session> Remove(std::string_view key);

    /// Takes out those that have ended by time or by number and were not taken before.
    [[nodiscard]] std::vector<Session> TakeEnded();

    /// Takes out all.
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
    void End(Sessions::iterator session);
    void EndExpired(TimePoint now);
    void EndOldest(const BasicString* userName, std::size_t maximum);

    const Configuration::SessionConfiguration configuration;
    const Clock clock;
    System::Commons::Mutex mutex;
    Sessions sessions;
    std::vector<Session> ended;
};

} // namespace Oxa::Host::Sessions
