#pragma once

#include "Oxa/System/Commons/OxaDateTime.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <cstddef>
#include <string_view>

namespace Oxa::System::Nm
{
struct Notification;
}

namespace Oxa::Host::Audit
{

/// One event of the audit trail, as it is stored. Texts are bounded and hold any bytes; code that shows them escapes
/// them. A value type.
struct AuditRow
{
    /// The first row of a trail has 1; without gaps. Set when the row is stored.
    int64 sequence = 0;
    /// UTC, since 1970.
    int64 microseconds = 0;
    /// Empty without one.
    BasicString user;
    BasicString address;
    /// The name of the kind of notification.
    BasicString action;
    /// What the action was done to.
    BasicString object;
    /// "success", "failure", "refused" or "unknown".
    BasicString outcome;
    /// Of the machine's run.
    BasicString bootId;
    /// Empty for what no request caused.
    BasicString requestId;
    /// A JSON object of texts: what the notification tells beyond the above.
    BasicString details;
    /// Chains the row to the one before, see `AuditKey`. Set when the row is stored.
    BasicString hash;

    bool operator==(const AuditRow&) const = default;
};

/// The fields "address", "object", "outcome" and "requestId" of the notification get columns of their own. Without an
/// object its text is the object, without an outcome the kind decides.
[[nodiscard]] AuditRow MakeAuditRow(const System::Nm::Notification& notification, std::string_view bootId);

/// The id of the machine's run; empty where the machine has none.
[[nodiscard]] BasicString ReadBootId();

/// UTC, as NotificationManager sets it.
[[nodiscard]] DateTime GetCurrentTime();

/// The row as one line of text, fields separated by tabs, controls and other invisible characters escaped.
[[nodiscard]] BasicString FormatAuditRow(const AuditRow& row);

/// Where the chain of rows begins and ends.
struct AuditHead
{
    int64 firstSequence = 1;
    /// The hash of the row before the first one, which has left; empty when none has.
    BasicString startHash;
    /// One less than `firstSequence` in a trail without rows.
    int64 lastSequence = 0;
    BasicString lastHash;
};

/// The secret of a trail's hashes. Hashes are keyed BLAKE2b of 256 bits, in hexadecimal digits: who has not the key can
/// neither change, add, remove nor swap rows unnoticed. Wiped in the end.
class AuditKey final
{
public:
    static constexpr std::size_t byteCount = 32;

    /// Only zeros, to be filled by `GetBytes`.
    AuditKey() = default;
    AuditKey(const AuditKey&) = delete;
    AuditKey& operator=(const AuditKey&) = delete;
    ~AuditKey();

    [[nodiscard]] std::array<unsigned char, byteCount>& GetBytes() noexcept
    {
        return bytes;
    }

    /// Of everything in the row but its hash, and of the hash of the row before.
    [[nodiscard]] BasicString HashRow(const AuditRow& row, std::string_view previousHash) const;

    [[nodiscard]] BasicString SealHead(const AuditHead& head) const;

private:
    std::array<unsigned char, byteCount> bytes{};
};

} // namespace Oxa::Host::Audit
