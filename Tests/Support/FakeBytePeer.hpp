#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <atomic>
#include <functional>
#include <string_view>
#include <thread>
#include <vector>

namespace Oxa::Tests::Support
{

/// The process at the other end of a socket, on a thread, one connection at a time: shakes hands as the protocol wants
/// it, then sends whatever bytes the test makes up for each call.
class FakeBytePeer final
{
public:
    /// Answers a call, out of the peer's thread.
    class Call final
    {
    public:
        Call(int descriptor, std::string_view bytes) : descriptor(descriptor), bytes(bytes) {}

        [[nodiscard]] bool Is(std::string_view operation) const;
        [[nodiscard]] uint32 GetSerial() const;
        void Send(std::string_view answer) const;
        /// Each byte after the other end has taken the one before, if it takes single ones.
        void SendSlowly(std::string_view answer) const;
        void HangUp() const;

    private:
        const int descriptor;
        const std::string_view bytes;
    };

    using AnswerFunction = std::function<void(const Call& call)>;

    /// `answer` gets all calls but those that ask whether a service is there: it is. Without it the peer accepts and
    /// never says a word.
    FakeBytePeer(const BasicString& path, AnswerFunction answer);
    FakeBytePeer(const FakeBytePeer&) = delete;
    FakeBytePeer& operator=(const FakeBytePeer&) = delete;
    ~FakeBytePeer();

    /// An answer to a call: `kind` 2 with results, 3 an error of that name.
    [[nodiscard]] static BasicString MakeAnswer(uint32 serial, unsigned char kind, std::string_view errorName,
                                                std::string_view signature, std::string_view body);

private:
    void Run();
    void Serve(int connection);
    [[nodiscard]] bool ReadMore(int connection, BasicString& received) const;

    const AnswerFunction answer;
    const int listening;
    const int waking;
    std::thread thread;
};

} // namespace Oxa::Tests::Support
