#include "Host/Http/ConnectionTable.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <list>
#include <utility>

namespace Oxa::Host::Http
{

namespace
{

using std::chrono::milliseconds;
using std::chrono::seconds;
using Stage = ConnectionStage;

struct FakeConnection final : ConnectionTable::Entry
{
    explicit FakeConnection(BasicString name) : name(std::move(name)) {}

    const BasicString name;
};

/// Tables of connections with names.
class ConnectionTables : public testing::Test
{
protected:
    ~ConnectionTables() override
    {
        for (FakeConnection& each : connections)
        {
            table.Remove(each);
        }
    }

    static BasicString GetName(ConnectionTable::Entry* entry)
    {
        return entry == nullptr ? "" : static_cast<FakeConnection*>(entry)->name;
    }

    static std::vector<BasicString> GetNames(const std::vector<ConnectionTable::Entry*>& entries)
    {
        std::vector<BasicString> names;
        std::ranges::transform(entries, std::back_inserter(names), &GetName);
        return names;
    }

    /// The name of the connection that gives its place; "refused" when there is none.
    BasicString Add(const BasicString& name, const char* address = "192.0.2.1")
    {
        connections.emplace_back(name);
        const auto admission = table.Add(connections.back(), GetNetwork(boost::asio::ip::make_address(address)), now);
        return admission.isAdmitted ? GetName(admission.displaced) : "refused";
    }

    /// The name of the connection that gives its place.
    BasicString Move(const BasicString& name, Stage stage, std::size_t unsentBytes = 0)
    {
        return GetName(table.Move(Find(name), stage, now, unsentBytes));
    }

    FakeConnection& Find(const BasicString& name)
    {
        return *std::ranges::find(connections, name, &FakeConnection::name);
    }

    static Configuration::HttpConfiguration MakeConfiguration()
    {
        Configuration::HttpConfiguration configuration;
        configuration.maximumConnections = 7;
        configuration.maximumConnectionsPerAddress = 7;
        configuration.maximumUnsentBytes = 100;
        return configuration;
    }

    Configuration::HttpConfiguration configuration = MakeConfiguration();
    ConnectionTable table{configuration};
    std::list<FakeConnection> connections;
    ConnectionTable::TimePoint now{seconds(1000)};
};

TEST_F(ConnectionTables, CountByNetwork)
{
    const std::pair<const char*, ClientNetwork> cases[] = {
        {"192.0.2.1", {0, 0xC0000201}},
        {"255.255.255.255", {0, 0xFFFFFFFF}},
        {"::ffff:192.0.2.1", {0, 0xC0000201}},
        {"2001:db8:1:2::3", {0x20010DB800010002, 0}},
        {"2001:db8:1:2:ffff:ffff:ffff:ffff", {0x20010DB800010002, 0}},
        {"2001:db8:1:3::3", {0x20010DB800010003, 0}},
        {"::1", {0, 0}}};
    for (const auto& [address, network] : cases)
    {
        EXPECT_EQ(GetNetwork(boost::asio::ip::make_address(address)), network) << address;
    }
}

TEST_F(ConnectionTables, EndTheLeastAdvancedConnectionAndThoseWithASessionLast)
{
    // As they are to end, all but the last two, which nothing displaces.
    static constexpr std::pair<Stage, bool> order[] = {
        {Stage::Closing, false}, {Stage::Silent, false},  {Stage::Handshake, false}, {Stage::Header, false},
        {Stage::Body, false},    {Stage::Writing, false}, {Stage::Idle, false},      {Stage::Closing, true},
        {Stage::Header, true},   {Stage::Body, true},     {Stage::Writing, true},    {Stage::Idle, true},
        {Stage::Busy, false},    {Stage::Busy, true}};
    const auto makeName = [](const auto& each)
    {
        return std::to_string(static_cast<int>(each.first)) + (each.second ? " with session" : "");
    };
    configuration.maximumConnections = std::size(order);
    configuration.maximumConnectionsPerAddress = std::size(order);
    for (auto each = std::rbegin(order); each != std::rend(order); ++each)
    {
        EXPECT_EQ(Add(makeName(*each)), "");
        table.SetSession(Find(makeName(*each)), each->second);
        Move(makeName(*each), each->first);
        now += seconds(2);
    }
    int count = 0;
    for (const auto& each : order)
    {
        const BasicString name = "busy" + std::to_string(++count);
        EXPECT_EQ(Add(name), each.first == Stage::Busy ? "refused" : makeName(each));
        Move(name, Stage::Busy);
    }
}

TEST_F(ConnectionTables, EndTheOneFirstThatHasBeenAtItsStageLongest)
{
    for (const char* name : {"a", "b", "c", "d", "e", "f", "g"})
    {
        EXPECT_EQ(Add(name), "") << "below the bound and at it";
        Move(name, Stage::Idle);
    }
    Move("a", Stage::Header);
    Move("a", Stage::Idle);
    EXPECT_EQ(Add("h"), "b") << "above the bound";
    EXPECT_EQ(Add("i"), "h") << "it has sent nothing";
    Move("i", Stage::Idle);
    EXPECT_EQ(Add("j"), "c");
}

TEST_F(ConnectionTables, KeepAnAddressToItsShareAndLeaveTheOthersAlone)
{
    configuration.maximumConnectionsPerAddress = 2;
    EXPECT_EQ(Add("a1", "10.0.0.1"), "");
    EXPECT_EQ(Add("b1", "2001:db8::1"), "");
    EXPECT_EQ(Add("b2", "2001:db8::2"), "");
    Move("b1", Stage::Idle);
    Move("b2", Stage::Header);
    EXPECT_EQ(Add("b3", "2001:db8::3"), "b2") << "although a1 is less advanced";
    EXPECT_EQ(Add("c1", "2001:db8:0:1::1"), "") << "of another network";
    Move("b1", Stage::Busy);
    Move("b3", Stage::Busy);
    EXPECT_EQ(Add("b4", "2001:db8::4"), "refused");
    EXPECT_EQ(Add("a2", "10.0.0.1"), "");
    table.Remove(Find("b1"));
    EXPECT_EQ(Add("b5", "2001:db8::5"), "");
}

TEST_F(ConnectionTables, GiveNewConnectionsTimeInARush)
{
    configuration.maximumConnections = 8;
    configuration.maximumConnectionsPerAddress = 8;
    const auto name = [](const char* kind, int index)
    {
        return kind + std::to_string(index);
    };
    for (int index = 0; index < 8; ++index)
    {
        EXPECT_EQ(Add(name("body", index)), "");
        Move(name("body", index), Stage::Body);
    }
    now += seconds(2);
    EXPECT_EQ(Add("new0"), "body0");
    for (int index = 1; index < 16; ++index)
    {
        EXPECT_EQ(Add(name("new", index)), name("new", index - 1)) << "without a rush the least advanced one ends";
    }
    now += milliseconds(999);
    for (int index = 16; index < 47; ++index)
    {
        EXPECT_EQ(Add(name("new", index)), "") << "up to four times the places";
    }
    EXPECT_EQ(Add("new47"), "new15");
    EXPECT_EQ(Move("new20", Stage::Header), "") << "the eighth place";
    EXPECT_EQ(Move("new20", Stage::Body), "");
    EXPECT_EQ(Move("new21", Stage::Header), "body1") << "the first byte takes a place, and a new one is kept";
    EXPECT_EQ(Move("new22", Stage::Header), "new21") << "but not more";
    EXPECT_EQ(Move("new22", Stage::Busy), "");
    EXPECT_EQ(Move("new23", Stage::Header), "body2");
}

TEST_F(ConnectionTables, GiveHandshakesThreeQuartersOfThePlaces)
{
    configuration.maximumConnections = 6;
    for (const char* name : {"a", "b", "c", "d", "e"})
    {
        Add(name);
    }
    EXPECT_EQ(Move("a", Stage::Handshake), "");
    EXPECT_EQ(Move("b", Stage::Handshake), "");
    EXPECT_EQ(Move("c", Stage::Handshake), "");
    EXPECT_EQ(Move("d", Stage::Handshake), "") << "at the bound";
    EXPECT_EQ(Move("e", Stage::Handshake), "a") << "above it";
    EXPECT_EQ(Move("b", Stage::Header), "");
}

TEST_F(ConnectionTables, EndTheNewOneInARushWhenAllOthersAreBusy)
{
    configuration.maximumConnections = 1;
    for (int index = 0; index < 20; ++index)
    {
        Add(std::to_string(index));
    }
    EXPECT_EQ(Move("18", Stage::Busy), "");
    EXPECT_EQ(Move("19", Stage::Header), "19");
    EXPECT_EQ(Move("19", Stage::Header), "") << "it is not in the table";
}

TEST_F(ConnectionTables, EndNewConnectionsBeforeThoseWithASession)
{
    configuration.maximumConnections = 16;
    configuration.maximumConnectionsPerAddress = 16;
    for (int index = 0; index < 16; ++index)
    {
        const BasicString name = std::to_string(index);
        EXPECT_EQ(Add(name), "");
        Move(name, index < 8 ? Stage::Idle : Stage::Silent);
        table.SetSession(Find(name), index < 8);
    }
    EXPECT_EQ(Add("new"), "8");
}

TEST_F(ConnectionTables, EndWhatLastsTooLong)
{
    const std::pair<Stage, seconds> limits[] = {{Stage::Closing, seconds(2)},
                                                {Stage::Silent, configuration.firstByteTimeout},
                                                {Stage::Header, configuration.headerTimeout},
                                                {Stage::Body, configuration.bodyTimeout},
                                                {Stage::Writing, configuration.writeTimeout},
                                                {Stage::Idle, configuration.idleTimeout}};
    for (const auto& [stage, limit] : limits)
    {
        const BasicString name = std::to_string(static_cast<int>(stage));
        Add(name);
        Move(name, stage);
        now += limit - milliseconds(1);
        EXPECT_THAT(table.TakeLate(now), testing::IsEmpty()) << name;
        now += milliseconds(1);
        EXPECT_THAT(GetNames(table.TakeLate(now)), testing::ElementsAre(name));
        EXPECT_TRUE(table.IsEmpty());
    }
    Add("busy");
    Move("busy", Stage::Busy);
    EXPECT_THAT(table.TakeLate(now + std::chrono::hours(1)), testing::IsEmpty());
}

TEST_F(ConnectionTables, CountTheHandshakeToTheTimeForTheFirstByte)
{
    Add("a");
    now += configuration.firstByteTimeout - seconds(1);
    Move("a", Stage::Handshake);
    now += seconds(1);
    EXPECT_THAT(GetNames(table.TakeLate(now)), testing::ElementsAre("a"));
}

TEST_F(ConnectionTables, BoundTheResponsesThatWait)
{
    for (const char* name : {"a", "b", "c", "d"})
    {
        Add(name);
    }
    table.SetSession(Find("a"), true);
    Move("a", Stage::Writing, 40);
    Move("b", Stage::Writing, 30);
    Move("c", Stage::Writing, 30);
    EXPECT_EQ(table.TakeExcess(Find("c")), nullptr) << "at the bound";
    Move("d", Stage::Writing, 1);
    EXPECT_EQ(GetName(table.TakeExcess(Find("d"))), "b") << "without a session, waits longest";
    EXPECT_EQ(table.TakeExcess(Find("d")), nullptr);
    Move("c", Stage::Idle);
    Move("d", Stage::Writing, 100);
    EXPECT_EQ(GetName(table.TakeExcess(Find("d"))), "a");
    EXPECT_EQ(table.TakeExcess(Find("d")), nullptr);
    table.Remove(Find("d"));
    Move("c", Stage::Writing, 101);
    EXPECT_EQ(table.TakeExcess(Find("c")), nullptr) << "there is no other";
}

TEST_F(ConnectionTables, FindThoseWithoutARequest)
{
    const Stage stages[] = {Stage::Closing, Stage::Silent,  Stage::Handshake, Stage::Header,
                            Stage::Body,    Stage::Writing, Stage::Idle};
    for (const Stage stage : stages)
    {
        const BasicString name = std::to_string(static_cast<int>(stage));
        Add(name);
        Move(name, stage);
    }
    EXPECT_THAT(GetNames(table.FindUnused()), testing::UnorderedElementsAre("1", "2", "3", "4", "6"));
    EXPECT_EQ(table.GetAll().size(), 7U);
}

} // namespace

} // namespace Oxa::Host::Http
