#include "Support/HttpClient.hpp"

#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
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
    parser.eager(true);
    boost::system::error_code error;
    while (!parser.is_done())
    {
        if (buffer.size() == 0 || error == http::error::need_more)
        {
            Expect(POLLIN);
            buffer.commit(socket.read_some(buffer.prepare(65536)));
        }
        buffer.consume(parser.put(buffer.data(), error));
        if (error && error != http::error::need_more)
        {
            throw boost::system::system_error(error);
        }
    }
    return parser.release();
}

HttpClient::Answer HttpClient::Ask(std::string_view method, std::string_view target, std::string_view fields,
                                   std::string_view body)
{
    BasicString text(method);
    text.append(" ").append(target).append(" HTTP/1.1\r\nHost: localhost\r\n").append(fields);
    text.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n\r\n").append(body);
    Write(text);
    return Read(method == "HEAD");
}

void HttpClient::Reset()
{
    socket.set_option(asio::socket_base::linger(true, 0));
    socket.close();
}

bool HttpClient::IsEnded()
{
    if (buffer.size() > 0)
    {
        return false;
    }
    char byte = 0;
    boost::system::error_code error;
    Expect(POLLIN);
    return socket.read_some(asio::buffer(&byte, 1), error) == 0 &&
           (error == asio::error::eof || error == asio::error::connection_reset);
}

} // namespace Oxa::Tests::Support
