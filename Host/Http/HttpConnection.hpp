#pragma once

#include "Host/Http/HttpServer.hpp"
#include "Host/Http/IHttpExchange.hpp"
#include "Host/Http/IHttpHandler.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Http/RequestReader.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string_view>

namespace Oxa::Host::Http
{

/// One client's connection: reads a request, has it answered, writes the answer, and so on, in order. At any time there
/// is either one operation of the socket or one request under way, so nothing of it is locked.
/// Kept alive by that operation or request. Threads: as the server's handlers; `End…` from any.
class HttpConnection final : public IHttpExchange, public std::enable_shared_from_this<HttpConnection>
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
    [[nodiscard]] BasicString GetClientAddress() const override;
    void Send(const HttpAnswer& answer, std::string_view body) override;
    void Resume() override;

private:
    void Read();
    void Process();
    void BeginBody();
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
    RequestReader reader;
    BasicString output;
    std::size_t lingeredBytes = 0;
    bool keepsConnection = true;
    std::atomic<uint32> deadline;
    /// No whole request waits for its answer, so that a server that ends need not wait.
    std::atomic<bool> isIdle = true;
};

} // namespace Oxa::Host::Http
