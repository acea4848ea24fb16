#pragma once

#include "Host/Http/HttpServer.hpp"
#include "Host/Http/IHttpExchange.hpp"
#include "Host/Http/IHttpHandler.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Http/RequestParser.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>

namespace Oxa::Host::Http
{

/// One client's connection: reads a request, has it answered, writes the answer, and so on, in order. At any time there
/// is either one operation of the socket or one request under way, so nothing of it is locked.
/// Kept alive by that operation or request. Threads: as the server's handlers; `End…` from any.
class HttpConnection final : public IHttpExchange,
                             public std::enable_shared_from_this<HttpConnection>,
                             private System::Commons::Diagnostics::Logging::Loggable<HttpConnection>
{
public:
    HttpConnection(HttpServer& server, HttpServer::Socket socket);
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;
    ~HttpConnection() override;

    void Start();

    /// Instead of `Start`: tells the client that there are too many connections.
    void Refuse();

    /// Requires: the server's lock is held, so that the socket cannot be closed meanwhile.
    void EndWhenLate(uint32 now) noexcept;
    void EndWhenIdle() noexcept;
    void End() noexcept;

    [[nodiscard]] const HttpRequest& GetRequest() const noexcept override;
    void Send(const HttpAnswer& answer, std::string_view body) override;
    void Resume() override;

private:
    enum class ParseResult : uint8
    {
        NeedsMore,
        Complete,
        Failed
    };

    // Room for the largest header, and behind it for pieces of a body.
    static constexpr std::size_t bufferBytes = 2 * RequestParser::maximumHeaderBytes;

    void BeginRequest();
    void WipeBody() noexcept;
    void Read();
    void OnRead(std::size_t count);
    void Process();
    [[nodiscard]] ParseResult Parse();
    void SkipEmptyLines() noexcept;
    [[nodiscard]] bool IsHeaderTooLarge() const noexcept;
    [[nodiscard]] ParseResult OnParseError(const boost::system::error_code& error);
    [[nodiscard]] bool TryPrepareBody();
    [[nodiscard]] Handling HandleRequest();
    void Fail(const Problem& problem);
    [[nodiscard]] bool Flush();
    void WriteRest(std::size_t written);
    [[nodiscard]] bool OnWritten();
    void EndAfterAnswer();
    void Linger();
    void Close();
    void SetDeadline(std::chrono::seconds timeout) noexcept;
    void ClearDeadline() noexcept;

    HttpServer& server;
    HttpServer::Socket socket;
    std::optional<RequestParser> parser;
    BasicString body;
    BasicString output;
    std::size_t parsedBytes = 0;
    std::size_t readBytes = 0;
    /// Where bytes behind the header go.
    std::size_t bodyOffset = 0;
    std::size_t lingeredBytes = 0;
    bool isHeaderStarted = false;
    bool keepsConnection = true;
    std::atomic<uint32> deadline;
    std::atomic<bool> isIdle = true;
    std::array<char, bufferBytes> buffer;
};

} // namespace Oxa::Host::Http
