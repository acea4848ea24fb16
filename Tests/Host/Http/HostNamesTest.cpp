#include "Host/Http/HostNames.hpp"

#include "Support/FakeExchange.hpp"

#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace Oxa::Host::Http
{

using boost::asio::ip::make_address;
using Match = HostNames::Match;

namespace
{

TEST(HostNamesOfTheMachine, AreItsOwnWhateverThePort)
{
    std::array<char, 256> buffer = {};
    ASSERT_EQ(gethostname(buffer.data(), buffer.size() - 1), 0);
    const BasicString machine = buffer.data();
    const BasicString label = machine.substr(0, machine.find('.'));
    const HostNames names(
        {"cabinet.example", "192.0.2.7", "2001:db8:0::7", "https://Proxy.example", "https://192.0.2.8"});
    // Host; the address that the client connected to.
    const std::tuple<BasicString, const char*, Match> cases[] = {{"localhost", "127.0.0.1", Match::Own},
                                                                 {"LOCALHOST:8080", "198.51.100.1", Match::Own},
                                                                 {machine, "198.51.100.1", Match::Own},
                                                                 {machine + ":1", "198.51.100.1", Match::Own},
                                                                 {label + ".", "198.51.100.1", Match::Own},
                                                                 {label + ".local:443", "198.51.100.1", Match::Own},
                                                                 {label + ".example", "198.51.100.1", Match::Foreign},
                                                                 {label + "2", "198.51.100.1", Match::Foreign},
                                                                 {"x" + label, "198.51.100.1", Match::Foreign},
                                                                 {"localhost.example", "127.0.0.1", Match::Foreign},
                                                                 {"", "127.0.0.1", Match::Foreign},
                                                                 {":80", "127.0.0.1", Match::Foreign},
                                                                 {".", "127.0.0.1", Match::Foreign},
                                                                 {"198.51.100.1", "198.51.100.1", Match::Own},
                                                                 {"198.51.100.1:8443", "198.51.100.1", Match::Own},
                                                                 {"198.51.100.2", "198.51.100.1", Match::Foreign},
                                                                 {"198.51.100.1.", "198.51.100.2", Match::Foreign},
                                                                 {"127.0.0.1:9", "127.0.0.1", Match::Own},
                                                                 {"127.0.0.1", "::1", Match::Own},
                                                                 {"127.0.0.1", "198.51.100.1", Match::Foreign},
                                                                 {"[::1]:9", "127.0.0.1", Match::Own},
                                                                 {"[2001:DB8::1]:9", "2001:db8::1", Match::Own},
                                                                 {"[2001:db8::2]", "2001:db8::1", Match::Foreign},
                                                                 {"0x7f000001", "127.0.0.1", Match::Foreign},
                                                                 {"CABINET.example", "198.51.100.1", Match::Own},
                                                                 {"cabinet.example.:8", "198.51.100.1", Match::Own},
                                                                 {"a.cabinet.example", "198.51.100.1", Match::Foreign},
                                                                 {"cabinet.example%2e", "198.51.100.1", Match::Foreign},
                                                                 {"192.0.2.7", "198.51.100.1", Match::Own},
                                                                 {"[2001:db8:0:0::7]:8", "198.51.100.1", Match::Own},
                                                                 {"proxy.example", "127.0.0.1", Match::OwnBehindProxy},
                                                                 {"192.0.2.8", "127.0.0.1", Match::OwnBehindProxy}};
    for (const auto& [host, local, match] : cases)
    {
        EXPECT_EQ(names.Find(host, make_address(local)), match) << "'" << host << "' at " << local;
    }
    EXPECT_EQ(names.Find({}, make_address("198.51.100.1")), Match::Own) << "no Host, as HTTP/1.0 allows";
}

TEST(HostNamesOfTheMachine, AreThoseOfItsCertificate)
{
    const HostNames names({"https://b.example", "2001:db8::7"});
    const auto ofOne = names.GetAll(make_address("192.0.2.1"));
    EXPECT_THAT(ofOne, testing::IsSupersetOf({"localhost", "b.example", "192.0.2.1", "2001:db8::7"}));
    EXPECT_THAT(ofOne, testing::Not(testing::Contains("127.0.0.1")));
    EXPECT_THAT(names.GetAll(make_address("0.0.0.0")), testing::Contains("127.0.0.1"));
    EXPECT_THAT(names.GetAll(make_address("::")), testing::IsSupersetOf({"127.0.0.1", "::1"}));
}

TEST(HostNamesOfTheMachine, FormOrigins)
{
    EXPECT_EQ(FormatOrigin(true, "cabinet.example", 443), "https://cabinet.example");
    EXPECT_EQ(FormatOrigin(true, "https://cabinet.example", 80), "https://cabinet.example:80");
    EXPECT_EQ(FormatOrigin(false, "127.0.0.1", 80), "http://127.0.0.1");
    EXPECT_EQ(FormatOrigin(false, "::1", 8080), "http://[::1]:8080");
}

TEST(RedirectingToEncryption, KeepsThePathOfReadsAndRefusesTheRest)
{
    const std::tuple<HttpMethod, const char*, const char*, const char*> cases[] = {
        {HttpMethod::Get, "/", "", "Location: https://a:1/\r\n"},
        {HttpMethod::Head, "/a/%20b", "c=d&e", "Location: https://a:1/a/%20b?c=d&e\r\n"},
        {HttpMethod::Get, "//evil.example/x", "", "Location: https://a:1//evil.example/x\r\n"},
        {HttpMethod::Post, "/a", "", nullptr},
        {HttpMethod::Delete, "/a", "", nullptr},
        {HttpMethod::Other, "*", "", nullptr}};
    for (const auto& [method, path, query, fields] : cases)
    {
        Tests::Support::FakeExchange exchange;
        exchange.request.method = method;
        exchange.request.path = path;
        exchange.request.query = query;
        EXPECT_EQ(SendRedirect(exchange, "https://a:1"), Handling::Completed);
        EXPECT_EQ(exchange.status, fields != nullptr ? 308U : 403U) << path;
        EXPECT_EQ(exchange.fields, fields != nullptr ? fields : "") << path;
    }
}

} // namespace

} // namespace Oxa::Host::Http
