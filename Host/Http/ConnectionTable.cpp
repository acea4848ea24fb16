#include "Host/Http/ConnectionTable.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

// Every entry is in two lists of its kind: that of all connections and that of its network. Entries join at the end, so
// that the first one of a list has been there longest.

namespace Oxa::Host::Http
{

namespace
{

using std::chrono::seconds;

constexpr seconds lingerTimeout{2};
/// A connection at its stage for less time counts as new.
constexpr seconds newTime{1};

/// How many new connections at the stage are kept in a rush when others could end instead.
constexpr std::size_t CountKept(ConnectionStage stage, std::size_t places) noexcept
{
    switch (stage)
    {
    case ConnectionStage::Handshake:
        return places / 4 * 3;
    case ConnectionStage::Header:
    case ConnectionStage::Body:
        return places / 8;
    default:
        return 0;
    }
}

} // namespace

ClientNetwork GetNetwork(const boost::asio::ip::address& address) noexcept
{
    if (address.is_v4())
    {
        return {0, address.to_v4().to_uint()};
    }
    const auto bytes = address.to_v6().to_bytes();
    const auto read = [&bytes](std::size_t begin, std::size_t end)
    {
        uint64 number = 0;
        for (std::size_t index = begin; index < end; ++index)
        {
            number = number << 8U | bytes.at(index);
        }
        return number;
    };
    if (address.to_v6().is_v4_mapped())
    {
        return {0, static_cast<uint32>(read(12, 16))};
    }
    return {read(0, 8), 0};
}

ConnectionTable::ConnectionTable(const Configuration::HttpConfiguration& configuration) : configuration(configuration)
{
}

ConnectionTable::~ConnectionTable() = default;

ConnectionTable::Admission ConnectionTable::Add(Entry& entry, const ClientNetwork& network, TimePoint now)
{
    const auto found = networks.try_emplace(network, network).first;
    const bool isRush = IsRush(now);
    Admission admission{true, nullptr};
    const auto makeRoom = [&](auto& places, std::size_t maximum)
    {
        auto& silent = places.lists[silentKind];
        if (isRush)
        {
            admission.displaced = silent.size() < silentFactor * maximum ? nullptr : &silent.front();
        }
        else if (places.count >= maximum)
        {
            admission.displaced = FindLeastAdvanced(places, maximum, now, nullptr);
            admission.isAdmitted = admission.displaced != nullptr;
        }
        return admission.displaced != nullptr || !admission.isAdmitted;
    };
    if (!makeRoom(found->second, configuration.maximumConnectionsPerAddress))
    {
        (void)makeRoom(all, configuration.maximumConnections);
    }
    if (admission.isAdmitted)
    {
        entry.network = &found->second;
        entry.stage = ConnectionStage::Silent;
        entry.hasSession = false;
        entry.since = now;
        entry.deadline = now + GetTimeout(entry.stage);
        ++found->second.count;
        ++all.count;
        Link(entry);
    }
    if (admission.displaced != nullptr)
    {
        Displace(*admission.displaced, now);
    }
    else if (found->second.count == 0)
    {
        networks.erase(found);
    }
    return admission;
}

bool ConnectionTable::IsRush(TimePoint now) const noexcept
{
    return now - displacements.at(oldestDisplacement) < newTime;
}

void ConnectionTable::Displace(Entry& entry, TimePoint now) noexcept
{
    displacements.at(oldestDisplacement) = now;
    oldestDisplacement = (oldestDisplacement + 1) % rushCount;
    Remove(entry);
}

/// For a new entry, or in place of `other`, which has taken a place. Null: every connection is busy.
template <class Tag>
ConnectionTable::Entry* ConnectionTable::FindLeastAdvanced(Places<Tag>& places, std::size_t maximum, TimePoint now,
                                                           const Entry* other) const noexcept
{
    const bool isRush = IsRush(now);
    Entry* kept = nullptr;
    // Those that are silent have no place to give to one that has taken one.
    for (std::size_t kind = 0; kind < places.lists.size(); ++kind)
    {
        const auto stage = static_cast<ConnectionStage>(kind % stageCount);
        if (stage == ConnectionStage::Busy && kept != nullptr)
        {
            return kept;
        }
        auto& list = places.lists[kind];
        if (stage == ConnectionStage::Busy || list.empty() || &list.front() == other ||
            (other != nullptr && kind == silentKind))
        {
            continue;
        }
        Entry& longest = list.front();
        if (!isRush || now - longest.since >= newTime || list.size() > CountKept(stage, maximum))
        {
            return &longest;
        }
        kept = kept == nullptr ? &longest : kept;
    }
    return nullptr;
}

void ConnectionTable::Remove(Entry& entry) noexcept
{
    if (entry.network == nullptr)
    {
        return;
    }
    Unlink(entry);
    --all.count;
    unsentBytes -= std::exchange(entry.unsentBytes, 0);
    if (--entry.network->count == 0)
    {
        networks.erase(entry.network->name);
    }
    entry.network = nullptr;
}

ConnectionTable::Entry* ConnectionTable::Move(Entry& entry, ConnectionStage stage, TimePoint now,
                                              std::size_t newUnsentBytes) noexcept
{
    if (entry.network == nullptr)
    {
        return nullptr;
    }
    Unlink(entry);
    entry.stage = stage;
    entry.since = now;
    // The handshake is a part of the time for the first byte.
    if (stage != ConnectionStage::Handshake)
    {
        entry.deadline = now + GetTimeout(stage);
    }
    unsentBytes += newUnsentBytes;
    unsentBytes -= std::exchange(entry.unsentBytes, newUnsentBytes);
    Link(entry);
    const auto isOverfull = [](const auto& places, std::size_t maximum)
    {
        return places.count - places.lists[silentKind].size() > maximum;
    };
    Entry* displaced = nullptr;
    auto& handshakes = all.lists[handshakeKind];
    if (stage == ConnectionStage::Handshake &&
        handshakes.size() > CountKept(stage, configuration.maximumConnections) + 1)
    {
        displaced = &handshakes.front();
    }
    else if (isOverfull(*entry.network, configuration.maximumConnectionsPerAddress))
    {
        displaced = FindLeastAdvanced(*entry.network, configuration.maximumConnectionsPerAddress, now, &entry);
    }
    else if (isOverfull(all, configuration.maximumConnections))
    {
        displaced = FindLeastAdvanced(all, configuration.maximumConnections, now, &entry);
    }
    else
    {
        return nullptr;
    }
    displaced = displaced == nullptr ? &entry : displaced;
    Displace(*displaced, now);
    return displaced;
}

void ConnectionTable::SetSession(Entry& entry, bool hasSession) noexcept
{
    if (entry.network != nullptr && entry.hasSession != hasSession)
    {
        Unlink(entry);
        entry.hasSession = hasSession;
        Link(entry);
    }
}

ConnectionTable::Entry* ConnectionTable::TakeExcess(const Entry& other) noexcept
{
    if (unsentBytes <= configuration.maximumUnsentBytes)
    {
        return nullptr;
    }
    constexpr auto writing = static_cast<std::size_t>(ConnectionStage::Writing);
    for (const std::size_t kind : {writing, stageCount + writing})
    {
        for (Entry& entry : all.lists[kind])
        {
            if (&entry != &other)
            {
                Remove(entry);
                return &entry;
            }
        }
    }
    return nullptr;
}

std::vector<ConnectionTable::Entry*> ConnectionTable::TakeLate(TimePoint now)
{
    auto late =
        Find([now](const Entry& entry) { return entry.deadline <= now && entry.stage != ConnectionStage::Busy; });
    std::ranges::for_each(late, [this](Entry* entry) { Remove(*entry); });
    return late;
}

std::vector<ConnectionTable::Entry*> ConnectionTable::FindUnused()
{
    return Find(
        [](const Entry& entry)
        {
            return entry.stage != ConnectionStage::Busy && entry.stage != ConnectionStage::Writing &&
                   entry.stage != ConnectionStage::Closing;
        });
}

std::vector<ConnectionTable::Entry*> ConnectionTable::GetAll()
{
    return Find([](const Entry& /*entry*/) { return true; });
}

std::vector<ConnectionTable::Entry*> ConnectionTable::Find(const std::function<bool(const Entry&)>& isWanted)
{
    std::vector<Entry*> found;
    for (auto& list : all.lists)
    {
        for (Entry& entry : list)
        {
            if (isWanted(entry))
            {
                found.push_back(&entry);
            }
        }
    }
    return found;
}

ConnectionTable::TimePoint::duration ConnectionTable::GetTimeout(ConnectionStage stage) const noexcept
{
    switch (stage)
    {
    case ConnectionStage::Closing:
        return lingerTimeout;
    case ConnectionStage::Silent:
    case ConnectionStage::Handshake:
        return configuration.firstByteTimeout;
    case ConnectionStage::Header:
        return configuration.headerTimeout;
    case ConnectionStage::Body:
        return configuration.bodyTimeout;
    case ConnectionStage::Writing:
        return configuration.writeTimeout;
    default:
        return configuration.idleTimeout;
    }
}

void ConnectionTable::Link(Entry& entry) noexcept
{
    all.lists.at(entry.GetKind()).push_back(entry);
    entry.network->lists.at(entry.GetKind()).push_back(entry);
}

void ConnectionTable::Unlink(Entry& entry) noexcept
{
    auto& ofAll = all.lists.at(entry.GetKind());
    ofAll.erase(ofAll.iterator_to(entry));
    auto& ofNetwork = entry.network->lists.at(entry.GetKind());
    ofNetwork.erase(ofNetwork.iterator_to(entry));
}

} // namespace Oxa::Host::Http
