#include "Support/ReadRequests.hpp"

#include <gmock/gmock.h>

#include <initializer_list>
#include <utility>
#include <vector>

// Where a request ends must be beyond doubt: a proxy that reads the same bytes in another way would pass on one request
// and this server find two (request smuggling). Every case carries a second request inside the first one's body.

namespace Oxa::Host::Http
{

using Tests::Support::ReadRequests;

namespace
{

using Cases = std::vector<std::pair<BasicString, BasicString>>;

const BasicString malformed = "malformed-request";
const BasicString smuggled = "GET /smuggled HTTP/1.1\r\nHost: h\r\n\r\n";
const BasicString length = std::to_string(smuggled.size());
const BasicString chunks = "23\r\n" + smuggled + "\r\n0\r\n\r\n";
const BasicString inBody = "POST / host='h' body='" + smuggled + "'; ";

/// `cases`: header fields, and what is found in the request with them and the body.
void ExpectFraming(const Cases& cases, const BasicString& body)
{
    for (const auto& [fields, expected] : cases)
    {
        const BasicString bytes = "POST / HTTP/1.1\r\nHost: h\r\n" + fields + "\r\n\r\n" + body;
        EXPECT_EQ(ReadRequests(bytes, bytes.size(), bytes.size()), expected) << testing::PrintToString(bytes);
        EXPECT_EQ(ReadRequests(bytes, 1, 1), expected) << "byte by byte: " << testing::PrintToString(bytes);
    }
}

Cases MakeLengthCases()
{
    Cases cases;
    for (const BasicString& field : std::initializer_list<BasicString>{
             "Content-Length: " + length, "content-length:" + length, "CONTENT-LENGTH:\t" + length + " \t",
             "Content-Length: 000" + length, "X: Content-Length: 0\r\nContent-Length: " + length,
             "Content-Length: " + length + "\r\nX-Content-Length: 0", "Content-Length: " + length + "\r\nTE: chunked",
             "Content-Length: " + length + "\r\nConnection: Content-Length",
             "Content-Length: " + length + "\r\nTransfer_Encoding: chunked",
             "Content-Length: " + length + "\r\nXTransfer-Encoding: chunked"})
    {
        cases.emplace_back(field, inBody);
    }
    for (const BasicString& value : std::initializer_list<BasicString>{BasicString(),
                                                                       BasicString(" "),
                                                                       "+" + length,
                                                                       "-" + length,
                                                                       "0x23",
                                                                       "3_5",
                                                                       "3 5",
                                                                       length + ".0",
                                                                       length + "e0",
                                                                       length + "," + length,
                                                                       length + ", " + length,
                                                                       length + ",",
                                                                       "," + length,
                                                                       length + ";" + length,
                                                                       "\"" + length + "\"",
                                                                       "'" + length + "'",
                                                                       length + "\v",
                                                                       "\f" + length,
                                                                       length + BasicString(1, '\0'),
                                                                       length + "\x7F",
                                                                       "\xC2\xA0" + length,
                                                                       "\xEF\xBC\x93\xEF\xBC\x95",
                                                                       "all",
                                                                       "0" + length + "h"})
    {
        cases.emplace_back("Content-Length: " + value, malformed);
    }
    for (const BasicString& fields :
         std::initializer_list<BasicString>{"Content-Length: " + length + "\r\nContent-Length: " + length,
                                            "Content-Length: " + length + "\r\nContent-Length: 0",
                                            "Content-Length: 0\r\nContent-Length: " + length,
                                            "Content-Length: " + length + "\r\ncontent-length: " + length,
                                            "Content-Length:\r\nContent-Length: " + length,
                                            "Content-Length : " + length,
                                            "Content-Length\t: " + length,
                                            " Content-Length: " + length,
                                            "\tContent-Length: " + length,
                                            "X: a\r\n Content-Length: " + length,
                                            "Content-Length:\r\n " + length,
                                            "Content-Length: 3\r\n\t5",
                                            "Content-Length: " + length + "\r\n ",
                                            "X: a\nContent-Length: " + length,
                                            "X: a\rContent-Length: " + length,
                                            "Content-Length: " + length + "\n",
                                            "Content-Length: " + length + "\nX: a",
                                            "Content-Length= " + length,
                                            "Content-Length " + length,
                                            "Content-Length",
                                            BasicString("Content-Length\0: ", 17) + length,
                                            "Content Length: " + length,
                                            "\"Content-Length\": " + length,
                                            "Content-Length\xC2\xA0: " + length,
                                            "Content-Length(x): " + length,
                                            ": Content-Length: " + length})
    {
        cases.emplace_back(fields, malformed);
    }
    return cases;
}

Cases MakeChunkedCases()
{
    Cases cases;
    for (const char* field :
         {"Transfer-Encoding: chunked", "transfer-encoding:CHUNKED", "TRANSFER-ENCODING:\t Chunked \t",
          "X: Transfer-Encoding\r\nTransfer-Encoding: chunked", "Transfer-Encoding: chunked\r\nX-Content-Length: 5",
          "Transfer-Encoding: chunked\r\nTE: trailers", "Transfer-Encoding: chunked\r\nConnection: Transfer-Encoding"})
    {
        cases.emplace_back(field, inBody);
    }
    for (const char* value : {"",
                              "identity",
                              "gzip",
                              "compress",
                              "deflate",
                              "br",
                              "x-chunked",
                              "chunked2",
                              "chunke",
                              "chunk ed",
                              "\"chunked\"",
                              "'chunked'",
                              "chunked;q=1",
                              "chunked;",
                              "chunked,",
                              ",chunked",
                              ", chunked",
                              "chunked, chunked",
                              "chunked, identity",
                              "identity, chunked",
                              "gzip, chunked",
                              "chunked, gzip",
                              "chunked\v",
                              "\vchunked",
                              "\fchunked",
                              "chunked\x7F",
                              "\xC2\xA0"
                              "chunked",
                              "chunked\xC5\xBF",
                              "cow",
                              "0"})
    {
        cases.emplace_back(BasicString("Transfer-Encoding: ") + value, malformed);
    }
    for (const BasicString& fields :
         std::initializer_list<BasicString>{BasicString("Transfer-Encoding : chunked"),
                                            BasicString("Transfer-Encoding\t: chunked"),
                                            BasicString(" Transfer-Encoding: chunked"),
                                            BasicString("X: a\r\n\tTransfer-Encoding: chunked"),
                                            BasicString("Transfer-Encoding:\r\n chunked"),
                                            BasicString("Transfer-Encoding: chunked\r\n "),
                                            BasicString("Transfer-Encoding: chun\r\n ked"),
                                            BasicString("X: a\nTransfer-Encoding: chunked"),
                                            BasicString("X: a\rTransfer-Encoding: chunked"),
                                            BasicString("Transfer-Encoding: chunked\n"),
                                            BasicString("Transfer-Encoding\0: chunked", 27),
                                            BasicString("Transfer-Encoding: chunked\0", 27),
                                            BasicString("Transfer-Encoding= chunked"),
                                            BasicString("Transfer Encoding: chunked"),
                                            BasicString("Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked"),
                                            BasicString("Transfer-Encoding: identity\r\nTransfer-Encoding: chunked"),
                                            BasicString("Transfer-Encoding: chunked\r\nTransfer-Encoding: identity"),
                                            BasicString("Transfer-Encoding:\r\nTransfer-Encoding: chunked"),
                                            BasicString("Transfer-Encoding: chunked\r\ntransfer-encoding: x"),
                                            "Transfer-Encoding: chunked\r\nContent-Length: " + length,
                                            "Content-Length: " + length + "\r\nTransfer-Encoding: chunked",
                                            BasicString("Transfer-Encoding: chunked\r\nContent-Length: 0"),
                                            BasicString("Content-Length: 0\r\nTransfer-Encoding: chunked"),
                                            BasicString("Transfer-Encoding: identity\r\nContent-Length: 5"),
                                            BasicString("Transfer-Encoding: chunked\r\nContent-Length:"),
                                            BasicString("Content-Length:\r\nTransfer-Encoding: chunked"),
                                            BasicString("Transfer-Encoding:\r\nContent-Length: 5")})
    {
        cases.emplace_back(fields, malformed);
    }
    return cases;
}

TEST(Framing, LeavesNoDoubtWhereABodyOfAGivenLengthEnds)
{
    const Cases cases = MakeLengthCases();
    ASSERT_GE(cases.size(), 60U);
    ExpectFraming(cases, smuggled);
}

TEST(Framing, LeavesNoDoubtWhereAChunkedBodyEnds)
{
    const Cases cases = MakeChunkedCases();
    ASSERT_GE(cases.size(), 60U);
    ExpectFraming(cases, chunks);
}

TEST(Framing, LeavesNoDoubtWhereAChunkEnds)
{
    const BasicString chunk = smuggled + "\r\n0\r\n\r\n";
    const BasicString rest = smuggled + "\n0\r\n\r\n";
    const Cases cases = {{"23\r\n" + chunk, inBody},
                         {"0000023\r\n" + chunk, inBody},
                         {"23;a=b\r\n" + chunk, inBody},
                         {"23 ;a\r\n" + chunk, inBody},
                         {"23\n" + chunk, malformed},
                         {"23\r" + chunk, malformed},
                         {"23\r\r\n" + chunk, malformed},
                         {" 23\r\n" + chunk, malformed},
                         {"23 \r\n" + chunk, malformed},
                         {"0x23\r\n" + chunk, malformed},
                         {"+23\r\n" + chunk, malformed},
                         {"-23\r\n" + chunk, malformed},
                         {"23,23\r\n" + chunk, malformed},
                         {"23;a\n\r\n" + chunk, malformed},
                         {"23;a\r\x0B\r\n" + chunk, malformed},
                         {"2 3\r\n" + chunk, malformed},
                         {"22\r\n" + chunk, malformed},
                         {"24\r\n" + chunk, malformed},
                         {"23\r\n" + rest, malformed},
                         {"\r\n23\r\n" + chunk, malformed},
                         {"ffffffffffffffff23\r\n" + chunk, "body-too-large"},
                         {"10000000000000023\r\n" + chunk, "body-too-large"}};
    for (const auto& [body, expected] : cases)
    {
        ExpectFraming({{"Transfer-Encoding: chunked", expected}}, body);
    }
}

} // namespace

} // namespace Oxa::Host::Http
