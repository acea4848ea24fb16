#include "Support/FakeBytePeer.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace Oxa::Tests::Support
{

namespace
{

constexpr std::size_t headerBytes = 16;

uint32 GetNumber(std::string_view bytes, std::size_t offset)
{
    uint32 number = 0;
    std::memcpy(&number, bytes.data() + offset, sizeof number);
    return number;
}

void Append(BasicString& bytes, uint32 number)
{
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

void Pad(BasicString& bytes)
{
    bytes.resize((bytes.size() + 7) / 8 * 8);
}

/// 0 when it has not come in as a whole.
std::size_t GetMessageBytes(std::string_view received)
{
    if (received.size() < headerBytes)
    {
        return 0;
    }
    const std::size_t all = headerBytes + (GetNumber(received, 12) + 7) / 8 * 8 + GetNumber(received, 4);
    return received.size() < all ? 0 : all;
}

int Listen(const BasicString& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), address.sun_path);
    const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || listen(made, 16) != 0)
    {
        throw std::runtime_error("cannot listen at " + path);
    }
    return made;
}

} // namespace

bool FakeBytePeer::Call::Is(std::string_view operation) const
{
    return bytes.find(operation) != std::string_view::npos;
}

uint32 FakeBytePeer::Call::GetSerial() const
{
    return GetNumber(bytes, 8);
}

void FakeBytePeer::Call::Send(std::string_view answer) const
{
    [[maybe_unused]] const auto sent = send(descriptor, answer.data(), answer.size(), MSG_NOSIGNAL);
}

void FakeBytePeer::Call::SendSlowly(std::string_view answer) const
{
    for (std::size_t index = 0; index < answer.size(); ++index)
    {
        Send(answer.substr(index, 1));
        poll(nullptr, 0, 1);
    }
}

void FakeBytePeer::Call::HangUp() const
{
    shutdown(descriptor, SHUT_RDWR);
}

FakeBytePeer::FakeBytePeer(const BasicString& path, AnswerFunction answer)
    : answer(std::move(answer)), listening(Listen(path)), waking(eventfd(0, EFD_CLOEXEC)), thread([this] { Run(); })
{
}

FakeBytePeer::~FakeBytePeer()
{
    eventfd_write(waking, 1);
    thread.join();
    close(waking);
    close(listening);
}

BasicString FakeBytePeer::MakeAnswer(uint32 serial, unsigned char kind, std::string_view errorName,
                                     std::string_view signature, std::string_view body)
{
    BasicString fields = {5, 1, 'u', 0};
    Append(fields, serial);
    fields += BasicString({8, 1, 'g', 0, static_cast<char>(signature.size())}) + BasicString(signature) + '\0';
    if (!errorName.empty())
    {
        Pad(fields);
        fields += BasicString({4, 1, 's', 0});
        Append(fields, static_cast<uint32>(errorName.size()));
        fields += BasicString(errorName) + '\0';
    }
    BasicString message = {'l', static_cast<char>(kind), 1, 1};
    Append(message, static_cast<uint32>(body.size()));
    Append(message, 1);
    Append(message, static_cast<uint32>(fields.size()));
    message += fields;
    Pad(message);
    return message + BasicString(body);
}

void FakeBytePeer::Run()
{
    for (;;)
    {
        std::array<pollfd, 2> waiting = {{{waking, POLLIN, 0}, {listening, POLLIN, 0}}};
        poll(waiting.data(), waiting.size(), -1);
        if (waiting[0].revents != 0)
        {
            return;
        }
        const int connection = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
        Serve(connection);
        close(connection);
    }
}

/// Until the other end, or the peer, hangs up.
void FakeBytePeer::Serve(int connection)
{
    constexpr std::string_view end = "BEGIN\r\n";
    BasicString received;
    std::size_t found = BasicString::npos;
    while (!answer || (found = received.find(end)) == BasicString::npos)
    {
        if (!ReadMore(connection, received))
        {
            return;
        }
    }
    received.erase(0, found + end.size());
    Call(connection, {}).Send("DATA\r\nOK 0123456789abcdef0123456789abcdef\r\n");
    while (ReadMore(connection, received))
    {
        while (const std::size_t size = GetMessageBytes(received))
        {
            const BasicString message = received.substr(0, size);
            received.erase(0, size);
            const Call call(connection, message);
            call.Is("GetAll") ? call.Send(MakeAnswer(call.GetSerial(), 2, "", "a{sv}", BasicString(8, '\0')))
                              : answer(call);
        }
    }
}

bool FakeBytePeer::ReadMore(int connection, BasicString& received) const
{
    std::array<pollfd, 2> waiting = {{{waking, POLLIN, 0}, {connection, POLLIN, 0}}};
    poll(waiting.data(), waiting.size(), -1);
    std::array<char, 4096> bytes;
    const ssize_t size = waiting[0].revents != 0 ? 0 : recv(connection, bytes.data(), bytes.size(), 0);
    received.append(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return size > 0;
}

} // namespace Oxa::Tests::Support
