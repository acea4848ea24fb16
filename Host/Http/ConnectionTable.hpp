#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/ip/address.hpp>
#include <boost/intrusive/list.hpp>

#include <array>
#include <chrono>
#include <compare>
#include <cstddef>
#include <functional>
#include <map>
#include <vector>

namespace Oxa::Host::Http
{

/// Who shares one part of the places: an address of IP version 4, or a network of version 6 with a prefix of 64 bits,
/// of which one client can have all addresses.
struct ClientNetwork
{
    /// 0 with version 4.
    uint64 prefix = 0;
    uint32 address = 0;

    auto operator<=>(const ClientNetwork&) const = default; // NOLINT(modernize-use-nullptr): there is no pointer
};

/// An address of version 4 that is mapped into version 6 is one of version 4.
[[nodiscard]] ClientNetwork GetNetwork(const boost::asio::ip::address& address) noexcept;

/// How far a connection is with its current request, the least advanced first.
enum class ConnectionStage : uint8
{
    /// The last response is written; the client has to close its side.
    Closing,
    /// The client has sent nothing yet.
    Silent,
    /// In the TLS handshake, whose first message has come.
    Handshake,
    /// A part of a request's header has come.
    Header,
    /// A part of a request's body is missing.
    Body,
    /// The client does not take its response.
    Writing,
    /// Between two requests.
    Idle,
    /// The request is complete and in progress. Such a connection neither times out nor makes room for another one.
    Busy
};

/// Decides which connections may stay: how long each stage may last, and which connection ends when all places, or all
/// of one network, are taken: the least advanced one, the one that has been at its stage longest first, and those whose
/// last request had a session after all others.
/// When many new clients displace others, that order alone would end each of them before its first byte can come. In
/// such a rush a silent connection, which costs a socket only, takes no place: four times as many as there are places
/// may wait for their first byte, and the place of another one is taken when it comes. Of each stage before `Writing` a
/// part of the places is then kept for connections that have been there for less than a second.
/// Handshakes, which take most memory, have one more than three quarters of the places at most.
/// Every operation takes logarithmic time, except `TakeLate`, `FindUnused` and `GetAll`. Knows neither sockets nor a
/// clock. Threads: one at a time.
class ConnectionTable final
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

private:
    struct InAll;
    struct InNetwork;
    struct Network;

    template <class Tag>
    using Hook = boost::intrusive::list_base_hook<boost::intrusive::tag<Tag>>;

    static constexpr std::size_t stageCount = static_cast<std::size_t>(ConnectionStage::Busy) + 1;
    /// A silent connection has no session.
    static constexpr auto silentKind = static_cast<std::size_t>(ConnectionStage::Silent);
    static constexpr auto handshakeKind = static_cast<std::size_t>(ConnectionStage::Handshake);

public:
    /// What the table knows about a connection, which derives from it. Guarded like the table.
    class Entry : public Hook<InAll>, public Hook<InNetwork>
    {
    public:
        Entry() = default;
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

    protected:
        /// Requires: it is not in the table.
        ~Entry() = default;

    private:
        friend class ConnectionTable;

        [[nodiscard]] std::size_t GetKind() const noexcept
        {
            return static_cast<std::size_t>(stage) + (hasSession ? stageCount : 0);
        }

        /// Null: not in the table.
        Network* network = nullptr;
        ConnectionStage stage = ConnectionStage::Silent;
        bool hasSession = false;
        TimePoint since;
        TimePoint deadline;
        std::size_t unsentBytes = 0;
    };

    /// Borrows the configuration.
    explicit ConnectionTable(const Configuration::HttpConfiguration& configuration);
    ConnectionTable(const ConnectionTable&) = delete;
    ConnectionTable& operator=(const ConnectionTable&) = delete;
    /// Requires: no entry is left.
    ~ConnectionTable();

    /// Which entry gave its place to a new one.
    struct Admission
    {
        /// False: every connection that could end for this one has a request in progress.
        bool isAdmitted = false;
        /// Is not in the table any more. May be null.
        Entry* displaced = nullptr;
    };

    /// The entry is borrowed until `Remove`, or until it is returned as one that has to end. It is `Silent`.
    [[nodiscard]] Admission Add(Entry& entry, const ClientNetwork& network, TimePoint now);

    /// So many silent connections for each place may be there in a rush.
    static constexpr std::size_t silentFactor = 4;

    // These three do nothing for an entry that is not in the table.

    void Remove(Entry& entry) noexcept;

    /// `unsentBytes`: of the response that is kept while `Writing`. Returns the entry whose place was taken, which is
    /// not in the table any more; it is this one when all others are busy. May be null.
    [[nodiscard]] Entry* Move(Entry& entry, ConnectionStage stage, TimePoint now, std::size_t unsentBytes = 0) noexcept;

    /// Whether the entry's last request had a session.
    void SetSession(Entry& entry, bool hasSession) noexcept;

    // These two remove what they return: connections that have to end.

    /// While the responses that are kept have more bytes than configured: the one that has been `Writing` longest, but
    /// not `other`. Null when there is nothing more to end.
    [[nodiscard]] Entry* TakeExcess(const Entry& other) noexcept;

    /// Those whose stage has lasted too long.
    [[nodiscard]] std::vector<Entry*> TakeLate(TimePoint now);

    /// Those without a complete request.
    [[nodiscard]] std::vector<Entry*> FindUnused();

    [[nodiscard]] std::vector<Entry*> GetAll();

    [[nodiscard]] bool IsEmpty() const noexcept
    {
        return all.count == 0;
    }

private:
    /// Connections by stage, first those without a session and then those with one. In each list the first one has been
    /// there longest.
    template <class Tag>
    struct Places
    {
        std::array<boost::intrusive::list<Entry, boost::intrusive::base_hook<Hook<Tag>>>, 2 * stageCount> lists;
        std::size_t count = 0;
    };

    struct Network final : Places<InNetwork>
    {
        explicit Network(const ClientNetwork& name) : name(name) {}

        const ClientNetwork name;
    };

    /// Displacing so many connections within a second is a rush.
    static constexpr std::size_t rushCount = 16;

    template <class Tag>
    [[nodiscard]] Entry* FindLeastAdvanced(Places<Tag>& places, std::size_t maximum, TimePoint now,
                                           const Entry* other) const noexcept;
    [[nodiscard]] bool IsRush(TimePoint now) const noexcept;
    void Displace(Entry& entry, TimePoint now) noexcept;
    [[nodiscard]] TimePoint::duration GetTimeout(ConnectionStage stage) const noexcept;
    void Link(Entry& entry) noexcept;
    void Unlink(Entry& entry) noexcept;
    [[nodiscard]] std::vector<Entry*> Find(const std::function<bool(const Entry&)>& isWanted);

    const Configuration::HttpConfiguration& configuration;
    Places<InAll> all;
    std::map<ClientNetwork, Network> networks;
    std::size_t unsentBytes = 0;
    /// When the last ones were displaced, a ring.
    std::array<TimePoint, rushCount> displacements = {};
    std::size_t oldestDisplacement = 0;
};

} // namespace Oxa::Host::Http
