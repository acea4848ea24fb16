#include "Support/HttpClient.hpp"

#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <poll.h>

#include <stdexcept>

namespace Oxa::Tests::Support
{

namespace asio = boost::asio;
namespace http = boost::beast::http;

namespace
{

constexpr std::chrono::seconds deadline{20};

} // namespace

/// The socket for those who read from it by themselves.
class HttpClient::Stream final
{
public:
    explicit Stream(HttpClient& client) : client(client) {}

    template <class Buffers>
    std::size_t read_some(const Buffers& buffers) // NOLINT(readability-identifier-naming): expected by the reader
    {
        client.Expect(POLLIN);
        return client.socket.read_some(buffers);
    }

    template <class Buffers>
    std::size_t read_some(const Buffers& buffers,
                          boost::system::error_code& error) // NOLINT(readability-identifier-naming)
    {
        client.Expect(POLLIN);
        return client.socket.read_some(buffers, error);
    }

private:
    HttpClient& client;
};

HttpClient::HttpClient(uint16 port) : socket(context)
{
    socket.connect({asio::ip::address_v4::loopback(), port});
    socket.set_option(asio::ip::tcp::no_delay(true));
    // Limits of the socket's own have no effect: a synchronous call would wait on, for ever.
    socket.non_blocking(true);
}

bool HttpClient::WaitFor(short event, std::chrono::milliseconds timeout)
{
    pollfd polled{socket.native_handle(), event, 0};
    return poll(&polled, 1, static_cast<int>(timeout.count())) > 0;
}

void HttpClient::Expect(short event)
{
    if (!WaitFor(event, deadline))
    {
        throw std::runtime_error(event == POLLIN ? "the server sends nothing" : "the server takes nothing");
    }
}

bool HttpClient::WaitForInput(std::chrono::milliseconds timeout)
{
    return buffer.size() > 0 || WaitFor(POLLIN, timeout);
}

void HttpClient::Write(std::string_view bytes)
{
    while (!bytes.empty())
    {
        Expect(POLLOUT);
        bytes.remove_prefix(socket.write_some(asio::buffer(bytes)));
    }
}

HttpClient::Answer HttpClient::Read(bool isToHead)
{
    http::response_parser<http::string_body> parser;
    parser.skip(isToHead);
    Stream stream(*this);
    http::read(stream, buffer, parser);
    return parser.release();
}

HttpClient::Answer HttpClient::Ask(std::string_view method, std::string_view target, std::string_view fields,
                                   std::string_view body)
{
    BasicString text(method);
    text.append(" ").append(target).append(" HTTP/1.1\r\nHost: test\r\n").append(fields);
    text.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n\r\n").append(body);
    Write(text);
    return Read(method == "HEAD");
}

bool HttpClient::IsEnded()
{
    char byte = 0;
    boost::system::error_code error;
    Expect(POLLIN);
    return buffer.size() == 0 && socket.read_some(asio::buffer(&byte, 1), error) == 0 &&
           (error == asio::error::eof || error == asio::error::connection_reset);
}

} // namespace Oxa::Tests::Support
