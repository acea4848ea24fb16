#include "Host/Audit/AuditRow.hpp"

#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Nm/Notification.hpp"

#include <sodium.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

namespace Oxa::Host::Audit
{

using System::Nm::Notification;
using System::Nm::NotificationKind;
namespace Text = System::Commons::Text;

namespace
{

// Clients choose some of the texts; together these bound a row to a few KiB.
constexpr std::size_t maximumTextBytes = 256;
constexpr std::size_t maximumNameBytes = 128;
constexpr std::size_t maximumDetailBytes = 256;
constexpr std::size_t maximumDetails = 8;

BasicString Bound(std::string_view text, std::size_t maximumBytes)
{
    return BasicString(Text::Truncate(text, maximumBytes));
}

std::string_view GetUsualOutcome(NotificationKind kind) noexcept
{
    switch (kind)
    {
    case NotificationKind::LogInFailed:
    case NotificationKind::CommandFailed:
    case NotificationKind::PasswordConfirmationFailed:
    case NotificationKind::ServiceLost:
    case NotificationKind::HostCrashed:
    case NotificationKind::AuditNotWritable:
        return "failure";
    case NotificationKind::CommandRefused:
    case NotificationKind::CrossOriginRefused:
    case NotificationKind::RightsRefused:
    case NotificationKind::LogInThrottled:
        return "refused";
    case NotificationKind::CommandRequested:
        return "unknown";
    default:
        return "success";
    }
}

/// The column of a field of a notification; null for a detail.
BasicString* FindColumn(AuditRow& row, std::string_view fieldName) noexcept
{
    static constexpr std::pair<std::string_view, BasicString AuditRow::*> columns[] = {
        {"address", &AuditRow::address},
        {"object", &AuditRow::object},
        {"outcome", &AuditRow::outcome},
        {"requestId", &AuditRow::requestId}};
    const auto* const found =
        std::ranges::find(columns, fieldName, &std::pair<std::string_view, BasicString AuditRow::*>::first);
    return found != std::end(columns) ? &(row.*found->second) : nullptr;
}

/// Every part with its length before it, so that no two contents have the same bytes.
class HashedContent final
{
public:
    /// `purpose` keeps hashes of rows and of heads apart.
    explicit HashedContent(std::string_view purpose)
    {
        Add(purpose);
    }

    HashedContent& Add(std::string_view text)
    {
        Add(static_cast<int64>(text.size()));
        bytes += text;
        return *this;
    }

    HashedContent& Add(int64 number)
    {
        for (unsigned shift = 0; shift < 64; shift += 8)
        {
            bytes += static_cast<char>(static_cast<unsigned char>(static_cast<uint64>(number) >> shift));
        }
        return *this;
    }

    [[nodiscard]] BasicString Hash(const std::array<unsigned char, AuditKey::byteCount>& key) const
    {
        std::array<unsigned char, 32> hash{};
        crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
                           key.data(), key.size());
        std::array<char, 2 * hash.size() + 1> text{};
        return sodium_bin2hex(text.data(), text.size(), hash.data(), hash.size());
    }

private:
    BasicString bytes;
};

} // namespace

AuditRow MakeAuditRow(const Notification& notification, std::string_view bootId)
{
    AuditRow row;
    row.microseconds = notification.time.ToUnixTimeMicroseconds();
    row.user = Bound(notification.user, maximumNameBytes);
    row.action = System::Nm::GetNotificationKindName(notification.kind);
    row.bootId = bootId;
    System::Commons::Json::JsonWriter details;
    details.WriteStartObject();
    details.WriteValue("source", Text::Truncate(notification.source, maximumNameBytes));
    std::size_t count = 0;
    for (const auto& [name, value] : notification.fields)
    {
        if (BasicString* const column = FindColumn(row, name))
        {
            *column = Bound(value, column == &row.object ? maximumTextBytes : maximumNameBytes);
        }
        else if (count++ < maximumDetails)
        {
            details.WriteValue(Text::Truncate(name, maximumNameBytes), Text::Truncate(value, maximumDetailBytes));
        }
    }
    if (row.object.empty())
    {
        row.object = Bound(notification.text, maximumTextBytes);
    }
    else if (row.object != notification.text)
    {
        details.WriteValue("text", Text::Truncate(notification.text, maximumDetailBytes));
    }
    if (row.outcome.empty())
    {
        row.outcome = GetUsualOutcome(notification.kind);
    }
    details.WriteEndObject();
    row.details = details.GetText();
    return row;
}

BasicString ReadBootId()
{
    BasicString text;
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::getline(file, text);
    return text;
}

DateTime GetCurrentTime()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return DateTime::FromUnixTimeMicroseconds(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

BasicString FormatAuditRow(const AuditRow& row)
{
    BasicString line = std::to_string(row.sequence);
    line += '\t' + DateTime::FromUnixTimeMicroseconds(row.microseconds).ToIso8601String();
    for (const BasicString* const text :
         {&row.action, &row.user, &row.address, &row.object, &row.outcome, &row.requestId, &row.bootId, &row.details})
    {
        line += '\t' + (text->empty() ? "-" : Text::EscapeControlCharacters(*text));
    }
    return line;
}

AuditKey::~AuditKey()
{
    sodium_memzero(bytes.data(), bytes.size());
}

BasicString AuditKey::HashRow(const AuditRow& row, std::string_view previousHash) const
{
    HashedContent content("row");
    content.Add(previousHash).Add(row.sequence).Add(row.microseconds);
    content.Add(row.user).Add(row.address).Add(row.action).Add(row.object).Add(row.outcome);
    return content.Add(row.bootId).Add(row.requestId).Add(row.details).Hash(bytes);
}

BasicString AuditKey::SealHead(const AuditHead& head) const
{
    HashedContent content("head");
    content.Add(head.firstSequence).Add(head.startHash);
    return content.Add(head.lastSequence).Add(head.lastHash).Hash(bytes);
}

} // namespace Oxa::Host::Audit
