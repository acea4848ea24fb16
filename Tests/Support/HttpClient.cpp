#include "Support/HttpClient.hpp"

#include <boost/asio/write.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <sys/socket.h>

namespace Oxa::Tests::Support
{

namespace asio = boost::asio;
namespace http = boost::beast::http;

HttpClient::HttpClient(uint16 port) : socket(context)
{
    socket.connect({asio::ip::address_v4::loopback(), port});
    const timeval timeout{20, 0};
    setsockopt(socket.native_handle(), SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    setsockopt(socket.native_handle(), SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    socket.set_option(asio::ip::tcp::no_delay(true));
}

void HttpClient::Write(std::string_view bytes)
{
    asio::write(socket, asio::buffer(bytes));
}

HttpClient::Answer HttpClient::Read(bool isToHead)
{
    http::response_parser<http::string_body> parser;
    parser.skip(isToHead);
    http::read(socket, buffer, parser);
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
    return buffer.size() == 0 && socket.read_some(asio::buffer(&byte, 1), error) == 0 &&
           (error == asio::error::eof || error == asio::error::connection_reset);
}

} // namespace Oxa::Tests::Support
