#include "Oxa/System/Rsc/Internal/Server/MessageStream.hpp"

#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

namespace
{

using namespace std::chrono_literals;

constexpr std::size_t maximumBytes = 1024;
const std::string handshake("\0AUTH EXTERNAL\r\nDATA\r\nBEGIN\r\n", 29);

std::string MakeNumber(std::size_t number)
{
    const auto narrow = static_cast<uint32>(number);
    return {reinterpret_cast<const char*>(&narrow), sizeof narrow};
}

/// A call without arguments.
std::string MakeCall(uint32 serial)
{
    std::string fields;
    char number = 1;
    for (const std::string_view text : {"/Oxa/Test", "Oxa.Test.IEchoService", "Change"})
    {
        fields.resize((fields.size() + 7) / 8 * 8);
        fields +=
            std::string({number, 1, number == 1 ? 'o' : 's', 0}) + MakeNumber(text.size()) + std::string(text) + '\0';
        ++number;
    }
    std::string message =
        std::string({'l', 1, 0, 1}) + MakeNumber(0) + MakeNumber(serial) + MakeNumber(fields.size()) + fields;
    message.resize((message.size() + 7) / 8 * 8);
    return message;
}

/// A stream and its peer.
class Peer final
{
public:
    Peer()
    {
        std::array<int, 2> ends = {};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), 0);
        own = ends[1];
        BusHandle bus = MakeBus();
        EXPECT_GE(sd_bus_set_fd(bus.get(), ends[0], ends[0]), 0);
        EXPECT_GE(sd_bus_set_server(bus.get(), 1, sd_id128_t{{1}}), 0);
        EXPECT_GE(sd_bus_start(bus.get()), 0);
        const auto count = [](sd_bus_message*, void* peer, sd_bus_error*)
        {
            ++static_cast<Peer*>(peer)->messages;
            return 1;
        };
        EXPECT_GE(sd_bus_add_filter(bus.get(), nullptr, count, this), 0);
        stream.emplace(std::move(bus), maximumBytes, now);
    }

    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    ~Peer()
    {
        Close();
    }

    void Close()
    {
        close(std::exchange(own, -1));
    }

    /// How the stream ended, or empty.
    std::string Send(std::string_view bytes)
    {
        EXPECT_EQ(write(own, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        return Process();
    }

    std::string Process()
    {
        try
        {
            for (int step = 0; step < 12; ++step)
            {
                stream->Process(now);
            }
            return "";
        }
        catch (const RscServiceException& exception)
        {
            return exception.GetMessage();
        }
    }

    MessageStream::TimePoint now{1h};
    std::optional<MessageStream> stream;
    int messages = 0;

private:
    int own = -1;
};

TEST(ReadingMessages, TakesThemWhereverTheyAreCut)
{
    const std::string bytes = handshake + MakeCall(1) + MakeCall(2) + MakeCall(3);
    for (std::size_t cut = 1; cut < bytes.size(); ++cut)
    {
        Peer peer;
        EXPECT_EQ(peer.Send(bytes.substr(0, cut)), "") << cut;
        EXPECT_EQ(peer.Send(bytes.substr(cut)), "") << cut;
        EXPECT_EQ(peer.messages, 3) << cut;
        EXPECT_EQ(peer.stream->GetDeadline(), MessageStream::TimePoint::max()) << cut;
        EXPECT_EQ(peer.Send(MakeCall(4)), "") << cut;
        EXPECT_EQ(peer.messages, 4) << cut;
    }
}

TEST(ReadingMessages, EndsWithDataThatIsNoMessage)
{
    const std::string longHeader = std::string("l\1\0\1", 4) + MakeNumber(maximumBytes) + MakeNumber(1) + MakeNumber(0);
    const std::string hugeHeader = std::string("l\1\0\1", 4) + MakeNumber(0) + MakeNumber(1) + MakeNumber(0x7FFFFFFF);
    const std::pair<std::string, const char*> cases[] = {
        {std::string(16, 'x'), "the data received is no message"},
        {std::string("l\1\0\2", 4) + std::string(12, '\0'), "the data received is no message"},
        {longHeader, "a message of 1040 bytes is longer than 1024"},
        {hugeHeader, "a message of 2147483664 bytes is longer than 1024"},
        {std::string("l\1\0\1", 4) + MakeNumber(8) + MakeNumber(1) + MakeNumber(0) + "12345678",
         "the data received is no valid message"}};
    for (const auto& [bytes, failure] : cases)
    {
        Peer peer;
        EXPECT_EQ(peer.Send(handshake), "");
        EXPECT_EQ(peer.Send(MakeCall(1)), "");
        EXPECT_EQ(peer.Send(bytes), failure);
        EXPECT_EQ(peer.messages, 1) << failure;
    }
    Peer pipelining;
    const std::string header = std::string("l\1\0\1", 4) + MakeNumber(100000) + MakeNumber(1) + MakeNumber(0);
    EXPECT_EQ(pipelining.Send(handshake + header + std::string(8 * maximumBytes, 'x')),
              "the data received is no valid message");
}

TEST(ReadingMessages, EndsWhatRemainsIncomplete)
{
    const std::string call = MakeCall(1);

    struct Case
    {
        std::string complete;
        std::string incomplete;
        const char* failure;
    };

    const Case cases[] = {{"", "", "the handshake remains incomplete"},
                          {"", handshake.substr(0, 20), "the handshake remains incomplete"},
                          {handshake, call.substr(0, 20), "the message remains incomplete"},
                          {handshake + call, call.substr(0, 5), "the message remains incomplete"},
                          {handshake + call, call.substr(0, 20), "the message remains incomplete"}};
    for (const auto& [complete, incomplete, failure] : cases)
    {
        Peer peer;
        EXPECT_EQ(peer.Send(complete), "");
        EXPECT_EQ(peer.Send(incomplete), "");
        EXPECT_LE(peer.stream->GetDeadline(), peer.now + MessageStream::completionTimeout) << incomplete;
        peer.now += MessageStream::completionTimeout - 1ms;
        EXPECT_EQ(peer.Process(), "") << incomplete;
        peer.now += 1ms;
        EXPECT_EQ(peer.Process(), failure) << incomplete;
    }
}

TEST(ReadingMessages, EndsWithThePeer)
{
    const std::string call = MakeCall(1);
    for (const std::string& bytes : {std::string(), handshake, handshake + call, handshake + call + call.substr(0, 5)})
    {
        Peer peer;
        EXPECT_EQ(peer.Send(bytes), "");
        peer.Close();
        EXPECT_EQ(peer.Process().find("the connection is lost: "), 0U) << bytes.size();
    }
}

} // namespace

} // namespace Oxa::System::Rsc::Internal
