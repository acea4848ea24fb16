#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>

#include <chrono>
#include <string_view>

namespace Oxa::Tests::Support
{

/// One connection to a server on loopback. Every wait ends after 20 s; what goes wrong throws.
class HttpClient final
{
public:
    using Answer = boost::beast::http::response<boost::beast::http::string_body>;

    explicit HttpClient(uint16 port);

    /// Writes the bytes as they are.
    void Write(std::string_view bytes);

    /// Reads one answer. `isToHead`: to a HEAD request, so that no body follows.
    [[nodiscard]] Answer Read(bool isToHead = false);

    /// Writes a request with the header fields Host and Content-Length and reads its answer. `fields`: further lines,
    /// each ended by CR LF.
    Answer Ask(std::string_view method, std::string_view target, std::string_view fields = {},
               std::string_view body = {});

    /// Whether bytes or the end of the connection come in time.
    [[nodiscard]] bool WaitForInput(std::chrono::milliseconds timeout);

    /// Ends the connection at once: the server's socket then knows this client no more.
    void Reset();

    /// True when the server ends the connection without another byte; false when a byte comes.
    [[nodiscard]] bool IsEnded();

private:
    [[nodiscard]] bool WaitFor(short event, std::chrono::milliseconds timeout);
    void Expect(short event);

    boost::asio::io_context context;
    boost::asio::ip::tcp::socket socket;
    boost::beast::flat_buffer buffer;
};

} // namespace Oxa::Tests::Support
