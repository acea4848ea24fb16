#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::Host::Sessions
{

/// Names a session in lists and in the audit trail; gives no access to it. 0: no session.
using SessionId = uint64;

/// 16 hexadecimal digits.
[[nodiscard]] BasicString FormatSessionId(SessionId id);

/// The sessions of users who are logged in. A session is found by its key, 256 random bits in base64url, of which only
/// a hash is kept: a copy of this process's memory gives access to no session. Safe from any thread.
class SessionTable final
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Clock = std::function<TimePoint()>;

    /// Who logged in from where.
    struct LogIn
    {
        System::Um::SecurityToken securityToken;
        BasicString userName;
        BasicString address = {};
        /// As the client names itself.
        BasicString userAgent = {};
    };

    struct Session
    {
        SessionId id = 0;
        LogIn logIn;
        TimePoint created;
        TimePoint lastUsed;
        /// When the user last gave the password again, for one command.
        std::optional<TimePoint> confirmed = {};
    };

    struct Found
    {
        SessionId id = 0;
        System::Um::SecurityToken securityToken;
        BasicString userName;
        std::chrono::seconds remainingLifetime{0};
        /// Until the session ends without further use.
        std::chrono::seconds remainingIdleTime{0};
    };

    /// A session in a list.
    struct Entry
    {
        Session session;
        std::chrono::seconds age{0};
        std::chrono::seconds idleTime{0};
    };

    struct Ended
    {
        Session session;
        /// For the audit trail.
        const char* cause = "";
    };

    explicit SessionTable(
        const Configuration::SessionConfiguration& configuration,
        Clock clock = [] { return std::chrono::steady_clock::now(); });
    SessionTable(const SessionTable&) = delete;
    SessionTable& operator=(const SessionTable&) = delete;

    /// The key of the new session. A user with too many sessions loses the least recently used one; when there are too
    /// many in all, a user who then has most of them does. Empty when every other user has a single one.
    [[nodiscard]] std::optional<BasicString> Add(LogIn logIn);

    /// `isUse`: postpones the end of the session. Empty for an unknown key and for a session that has ended.
    [[nodiscard]] std::optional<Found> Find(std::string_view key, bool isUse);

    [[nodiscard]] std::optional<Session> Remove(std::string_view key);

    /// Of this user, or of any for null.
    [[nodiscard]] std::optional<Session> Remove(SessionId id, const BasicString* userName);

    [[nodiscard]] std::vector<Session> RemoveUser(std::string_view userName);

    /// Of this user, or of all for null; the oldest first.
    [[nodiscard]] std::vector<Entry> List(const BasicString* userName);

    /// The session's user has given the password again.
    void Confirm(SessionId id);

    /// True after `Confirm`, within a minute.
    [[nodiscard]] bool HasConfirmation(SessionId id);

    /// The same, once.
    [[nodiscard]] bool TakeConfirmation(SessionId id);

    /// Removes and returns the sessions that have ended by time or by number.
    [[nodiscard]] std::vector<Ended> TakeEnded();

private:
    using KeyHash = std::array<unsigned char, 32>;
    using Sessions = std::map<KeyHash, Session>;

    [[nodiscard]] static KeyHash Hash(std::string_view key) noexcept;
    [[nodiscard]] bool HasEnded(const Session& session, TimePoint now) const noexcept;
    [[nodiscard]] Sessions::iterator Find(SessionId id) OXA_REQUIRES(mutex);
    [[nodiscard]] Session Take(Sessions::iterator session) OXA_REQUIRES(mutex);
    void End(Sessions::iterator session, const char* cause) OXA_REQUIRES(mutex);
    void EndThoseThatExpired(TimePoint now) OXA_REQUIRES(mutex);
    [[nodiscard]] bool TryMakeSpace(const BasicString& userName) OXA_REQUIRES(mutex);

    const Configuration::SessionConfiguration configuration;
    const Clock clock;
    System::Commons::Mutex mutex;
    Sessions sessions OXA_GUARDED_BY(mutex);
    std::vector<Ended> ended OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Host::Sessions
