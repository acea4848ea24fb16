#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <string_view>
#include <thread>
#include <utility>

namespace Oxa::Tests::Support
{

/// A listening Unix socket, which its owner closes; -1 when there can be none.
inline int ListenAt(const BasicString& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isListening =
        bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 && listen(made, 16) == 0;
    return isListening ? made : -1;
}

/// The process at the other end of a socket, on a thread, one connection at a time: shakes hands as the protocol wants
/// it, then sends whatever bytes the test makes up for each call.
class FakeBytePeer final
{
public:
    /// A call that came in.
    struct Call
    {
        [[nodiscard]] bool Is(std::string_view operation) const
        {
            return bytes.find(operation) != BasicString::npos;
        }

        [[nodiscard]] uint32 GetSerial() const
        {
            return GetNumber(bytes, 8);
        }

        void Send(std::string_view answer) const
        {
            [[maybe_unused]] const auto sent = send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
        }

        void HangUp() const
        {
            shutdown(connection, SHUT_RDWR);
        }

        int connection;
        BasicString bytes;
    };

    using AnswerFunction = std::function<void(const Call& call)>;

    /// `answer` gets, on the peer's thread, all calls but those that ask whether a service is there: it is. Null: the
    /// peer accepts connections and never says a word.
    FakeBytePeer(const BasicString& path, AnswerFunction answer)
        : answer(std::move(answer)),
          listening(ListenAt(path)),
          waking(eventfd(0, EFD_CLOEXEC)),
          thread([this] { Run(); })
    {
    }

    FakeBytePeer(const FakeBytePeer&) = delete;
    FakeBytePeer& operator=(const FakeBytePeer&) = delete;

    ~FakeBytePeer()
    {
        eventfd_write(waking, 1);
        thread.join();
        close(waking);
        close(listening);
    }

    /// An answer to the call of that number: results, or, with a name, an error.
    [[nodiscard]] static BasicString MakeAnswer(uint32 serial, std::string_view signature, std::string_view body,
                                                std::string_view errorName = {})
    {
        const char kind = errorName.empty() ? 2 : 3;
        BasicString fields = BasicString({5, 1, 'u', 0}) + MakeNumber(serial) +
                             BasicString({8, 1, 'g', 0, static_cast<char>(signature.size())}) + BasicString(signature) +
                             '\0';
        if (!errorName.empty())
        {
            fields.resize(AlignUp(fields.size()));
            fields += BasicString({4, 1, 's', 0}) + MakeNumber(errorName.size()) + BasicString(errorName) + '\0';
        }
        BasicString message = BasicString({'l', kind, 1, 1}) + MakeNumber(body.size()) + MakeNumber(1) +
                              MakeNumber(fields.size()) + fields;
        message.resize(AlignUp(message.size()));
        return message + BasicString(body);
    }

    /// A call without arguments.
    [[nodiscard]] static BasicString MakeCall(uint32 serial, std::string_view path, std::string_view interface,
                                              std::string_view operation)
    {
        BasicString fields;
        char number = 1;
        for (const std::string_view text : {path, interface, operation})
        {
            fields.resize(AlignUp(fields.size()));
            fields += BasicString({number, 1, number == 1 ? 'o' : 's', 0}) + MakeNumber(text.size()) +
                      BasicString(text) + '\0';
            ++number;
        }
        BasicString message =
            BasicString({'l', 1, 0, 1}) + MakeNumber(0) + MakeNumber(serial) + MakeNumber(fields.size()) + fields;
        message.resize(AlignUp(message.size()));
        return message;
    }

    /// As it lies in messages.
    [[nodiscard]] static BasicString MakeNumber(std::size_t number)
    {
        const auto narrow = static_cast<uint32>(number);
        return {reinterpret_cast<const char*>(&narrow), sizeof narrow};
    }

private:
    [[nodiscard]] static uint32 GetNumber(std::string_view bytes, std::size_t offset)
    {
        uint32 number = 0;
        std::memcpy(&number, bytes.data() + offset, sizeof number);
        return number;
    }

    [[nodiscard]] static std::size_t AlignUp(std::size_t size)
    {
        return (size + 7) / 8 * 8;
    }

    void Run() const
    {
        while (WaitFor(listening))
        {
            const int connection = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
            Serve(connection);
            close(connection);
        }
    }

    /// Until the other end, or the peer, hangs up.
    void Serve(int connection) const
    {
        constexpr std::string_view end = "BEGIN\r\n";
        BasicString received;
        while (!answer || received.find(end) == BasicString::npos)
        {
            if (!Receive(connection, received))
            {
                return;
            }
        }
        received.erase(0, received.find(end) + end.size());
        // An answer that nobody asked for right behind it, with the end of a line in it, as in a handshake.
        Call{connection, {}}.Send("DATA\r\nOK 0123456789abcdef0123456789abcdef\r\n" +
                                  MakeAnswer(UINT32_MAX, "s", BasicString({2, 0, 0, 0, '\r', '\n', 0})));
        while (Receive(connection, received))
        {
            AnswerAll(connection, received);
        }
    }

    void AnswerAll(int connection, BasicString& received) const
    {
        constexpr std::size_t header = 16;
        while (received.size() >= header)
        {
            const std::size_t size = header + AlignUp(GetNumber(received, 12)) + GetNumber(received, 4);
            if (received.size() < size)
            {
                return;
            }
            const Call call{connection, received.substr(0, size)};
            received.erase(0, size);
            call.Is("GetAll") ? call.Send(MakeAnswer(call.GetSerial(), "a{sv}", BasicString(8, '\0'))) : answer(call);
        }
    }

    /// False when the connection, or the test, is at its end.
    [[nodiscard]] bool Receive(int connection, BasicString& received) const
    {
        std::array<char, 4096> bytes;
        const ssize_t size = WaitFor(connection) ? recv(connection, bytes.data(), bytes.size(), 0) : 0;
        received.append(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        return size > 0;
    }

    [[nodiscard]] bool WaitFor(int descriptor) const
    {
        std::array<pollfd, 2> waiting = {{{waking, POLLIN, 0}, {descriptor, POLLIN, 0}}};
        poll(waiting.data(), waiting.size(), -1);
        return waiting[0].revents == 0;
    }

    const AnswerFunction answer;
    const int listening;
    const int waking;
    std::thread thread;
};

} // namespace Oxa::Tests::Support
