#include "Processes/DeviceClient.hpp"
#include "Support/FakeBytePeer.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <poll.h>

#include <array>
#include <atomic>
#include <fstream>
#include <functional>
#include <future>
#include <utility>

namespace Oxa::Tests::Processes
{

using namespace std::chrono_literals;
using Support::FakeBytePeer;

namespace
{

constexpr auto timeout = 300ms;
constexpr char stringType = 19;

/// The results of a single read: a text with that number of its type.
BasicString MakeValue(char type, const BasicString& text)
{
    return BasicString({type, 1, 's', 0, static_cast<char>(text.size()), 0, 0, 0}) + text + '\0';
}

BasicString MakeResults(uint32 serial, const BasicString& body, const char* signature = "(yv)")
{
    return FakeBytePeer::MakeAnswer(serial, signature, body);
}

BasicString MakeRightAnswer(uint32 serial)
{
    return MakeResults(serial, MakeValue(stringType, "right"));
}

BasicString MakeError(uint32 serial, const char* name)
{
    return FakeBytePeer::MakeAnswer(serial, "s", BasicString({5, 0, 0, 0}) + "cause" + '\0', name);
}

void SendSlowly(const FakeBytePeer::Call& call, const BasicString& bytes)
{
    for (const char byte : bytes)
    {
        call.Send({&byte, 1});
        poll(nullptr, 0, 1);
    }
}

/// A header that announces so many bytes, and nothing after it.
BasicString MakeHeader(uint32 fieldBytes, uint32 bodyBytes)
{
    return MakeRightAnswer(1)
        .replace(4, 4, FakeBytePeer::MakeNumber(bodyBytes))
        .replace(12, 4, FakeBytePeer::MakeNumber(fieldBytes))
        .substr(0, 16);
}

long GetPeakKilobytes()
{
    std::ifstream status("/proc/self/status");
    BasicString word;
    while (status >> word && word != "VmHWM:")
    {
    }
    long kilobytes = 0;
    status >> kilobytes;
    return kilobytes;
}

class CallingAStranger : public testing::Test
{
protected:
    void Answer(const FakeBytePeer::Call& call)
    {
        if (call.Is("Bad") || call.Is("Restart"))
        {
            answerBadly(call);
        }
        else
        {
            call.Send(MakeRightAnswer(call.GetSerial()));
        }
    }

    /// The answer to a read that is answered badly. The one after it has to be right.
    Outcome ReadBad(const std::function<void(const FakeBytePeer::Call& call)>& newAnswer)
    {
        answerBadly = newAnswer;
        const Outcome outcome = client.Read("Bad");
        EXPECT_LE(outcome.duration, timeout + 500ms);
        EXPECT_EQ(client.Read("Good"), "right");
        return outcome;
    }

    Outcome ReadBad(const std::function<BasicString(uint32 serial)>& makeAnswer)
    {
        return ReadBad([&makeAnswer](const FakeBytePeer::Call& call) { call.Send(makeAnswer(call.GetSerial())); });
    }

    const Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("socket");
    std::function<void(const FakeBytePeer::Call& call)> answerBadly;
    FakeBytePeer peer{path, [this](const FakeBytePeer::Call& call)
                      {
                          Answer(call);
                      }};
    DeviceClient client{{"Oxa.Device", path, timeout, timeout}};
};

TEST_F(CallingAStranger, TakesNothingForAnAnswerThatIsNone)
{
    struct Case
    {
        const char* name;
        std::function<BasicString(uint32 serial)> makeAnswer;
        const char* result;
    };

    const Case cases[] = {
        {"no message", [](uint32) { return "HTTP/1.1 400 Bad Request\r\n\r\n"; }, "BadAnswer"},
        {"300 KiB", [](uint32) { return MakeHeader(0, 300 << 10); }, "BadAnswer"},
        {"128 MiB", [](uint32) { return MakeHeader(0, 128 << 20); }, "BadAnswer"},
        {"128 MiB of fields", [](uint32) { return MakeHeader(128 << 20, 0); }, "BadAnswer"},
        {"more than there is", [](uint32) { return MakeHeader(UINT32_MAX, UINT32_MAX); }, "BadAnswer"},
        {"garbled fields", [](uint32 serial) { return MakeRightAnswer(serial).replace(16, 8, 8, '\xff'); },
         "BadAnswer"},
        {"more after garbled fields",
         [](uint32 serial) {
             return MakeRightAnswer(serial).replace(16, 8, 8, '\xff') + MakeHeader(0, 128 << 20) +
                    BasicString(100 << 10, 'x');
         },
         "BadAnswer"},
        {"stops halfway", [](uint32 serial) { return MakeRightAnswer(serial).substr(0, 40); }, "TimedOut"},
        {"announces more than comes",
         [](uint32 serial) { return MakeRightAnswer(serial).replace(4, 4, FakeBytePeer::MakeNumber(200'000)); },
         "TimedOut"},
        {"calls before the answer",
         [](uint32 serial)
         {
             BasicString calls;
             for (uint32 call = 1; call <= 3000; ++call)
             {
                 calls += FakeBytePeer::MakeCall(call, "/Oxa/Device", "Oxa.Device.IStranger", "Call");
             }
             return calls + MakeRightAnswer(serial);
         },
         "right"},
        {"wrong serial", [](uint32 serial) { return MakeRightAnswer(serial + 1000); }, "TimedOut"},
        {"wrong type", [](uint32 serial) { return MakeResults(serial, BasicString(8, '\0'), "t"); }, "BadAnswer"},
        {"unknown type of value", [](uint32 serial) { return MakeResults(serial, MakeValue(77, "x")); }, "BadAnswer"},
        {"number that is a text", [](uint32 serial) { return MakeResults(serial, MakeValue(9, "x")); }, "BadAnswer"},
        {"text too long",
         [](uint32 serial) { return MakeResults(serial, MakeValue(stringType, "x").replace(4, 4, 4, '\x7f')); },
         "BadAnswer"},
        {"no UTF-8", [](uint32 serial) { return MakeResults(serial, MakeValue(stringType, "\xff")); }, "BadAnswer"},
        {"cut value", [](uint32 serial) { return MakeResults(serial, MakeValue(stringType, "x").substr(0, 6)); },
         "BadAnswer"},
    };
    ASSERT_TRUE(client.TryFind());
    for (const Case& each : cases)
    {
        const long before = GetPeakKilobytes();
        EXPECT_EQ(ReadBad(each.makeAnswer), each.result) << each.name;
        EXPECT_LE(GetPeakKilobytes(), before + (16 << 10)) << each.name;
    }
}

TEST_F(CallingAStranger, TellsErrorsApart)
{
    const std::pair<const char*, const char*> cases[] = {
        {"Oxa.System.Rsc.Error.NotAvailable", "NotAvailable"},
        {"org.freedesktop.DBus.Error.UnknownObject", "NotAvailable"},
        {"Oxa.System.Rsc.Error.Refused", "Refused"},
        {"org.freedesktop.DBus.Error.AccessDenied", "Refused"},
        {"org.freedesktop.DBus.Error.NoReply", "TimedOut"},
        {"org.freedesktop.DBus.Error.Disconnected", "ConnectionLost"},
        {"Oxa.System.Commons.ArgumentException", "ArgumentException"},
        {"Oxa.System.Commons.InvalidOperationException", "InvalidOperationException"},
        {"Oxa.System.Commons.NotSupportedException", "NotSupportedException"},
        {"Oxa.System.Commons.Exception", "Exception"},
        {"Some.Other", "BadAnswer"},
    };
    ASSERT_TRUE(client.TryFind());
    for (const auto& [name, result] : cases)
    {
        EXPECT_EQ(ReadBad([name = name](uint32 serial) { return MakeError(serial, name); }), result) << name;
    }
}

TEST_F(CallingAStranger, PutsTogetherWhatComesInPiecesAndLosesWhatIsCut)
{
    ASSERT_TRUE(client.TryFind());
    EXPECT_EQ(ReadBad([](const FakeBytePeer::Call& call) { SendSlowly(call, MakeRightAnswer(call.GetSerial())); }),
              "right");
    const std::size_t size = MakeRightAnswer(0).size();
    for (std::size_t length = 0; length < size; length += 5)
    {
        const auto cut = [length](const FakeBytePeer::Call& call)
        {
            call.Send(MakeRightAnswer(call.GetSerial()).substr(0, length));
            call.HangUp();
        };
        EXPECT_EQ(ReadBad(cut), "ConnectionLost") << length;
    }
}

TEST_F(CallingAStranger, ConnectsAgainWhenNothingIsAnsweredAnyMore)
{
    // Only the first few calls of each connection.
    answerBadly = [](const FakeBytePeer::Call& call)
    {
        if (call.GetSerial() < 8)
        {
            call.Send(MakeRightAnswer(call.GetSerial()));
        }
    };
    ASSERT_TRUE(client.TryFind());
    for (int round = 0; round < 2; ++round)
    {
        std::array<std::future<Outcome>, 16> calls;
        for (auto& call : calls)
        {
            call = std::async(std::launch::async, [this] { return client.Read("Bad"); });
        }
        for (auto& call : calls)
        {
            EXPECT_LE(call.get().duration, timeout + 500ms);
        }
    }
    EXPECT_EQ(client.Read("Bad"), "right");
}

TEST_F(CallingAStranger, SendsACommandOnce)
{
    std::atomic<int> restarts = 0;
    ASSERT_TRUE(client.TryFind());
    for (const bool hangsUp : {true, false})
    {
        answerBadly = [&restarts, hangsUp](const FakeBytePeer::Call& call)
        {
            ++restarts;
            if (hangsUp)
            {
                call.HangUp();
            }
        };
        EXPECT_EQ(client.Restart(), hangsUp ? "ConnectionLost" : "TimedOut");
        EXPECT_EQ(client.Read("Good"), "right");
        EXPECT_EQ(restarts.exchange(0), 1);
    }
}

TEST(CallingASilentProcess, GivesUpInTime)
{
    const Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("socket");
    const FakeBytePeer peer(path, nullptr);
    DeviceClient client({"Oxa.Device", path, timeout, timeout});
    const Outcome outcome = DeviceClient::Measure([&client] { return client.TryFind() ? "found" : "nobody"; });
    EXPECT_EQ(outcome, "nobody");
    EXPECT_GE(outcome.duration, timeout);
    EXPECT_LE(outcome.duration, timeout + 500ms);
}

} // namespace

} // namespace Oxa::Tests::Processes
