#include "Host/Http/HttpConnection.hpp"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <sys/socket.h>

#include <limits>
#include <string_view>
#include <utility>

// A connection reads (`Read`), parses (`Process`), waits for its handler (`HandleRequest` until `Resume`), writes
// (`Flush`) and begins again, or ends: `Linger` until the client has closed its side, then `Close`. The steps follow
// each other, on whichever thread runs the event loop. The set's lock guards which connections there are; a connection
// takes it only to add or remove itself, and what the set calls under it takes no lock.

namespace Oxa::Host::Http
{

namespace asio = boost::asio;
using boost::system::error_code;
using System::Commons::MutexLock;

namespace
{

constexpr uint32 noDeadline = std::numeric_limits<uint32>::max();
constexpr std::chrono::seconds lingerTimeout{2};
constexpr std::size_t maximumLingeredBytes = std::size_t{1024} * 1024;

auto MakeBuffer(std::string_view bytes)
{
    return asio::buffer(bytes.data(), bytes.size());
}

} // namespace

ConnectionSet::ConnectionSet(asio::io_context& context, const Configuration::HttpConfiguration& configuration,
                             HttpHandler handler)
    : context(context), configuration(configuration), handler(std::move(handler))
{
}

bool ConnectionSet::TryAdd(HttpConnection& connection)
{
    const MutexLock lock(mutex);
    return connections.size() < configuration.maximumConnections && connections.insert(&connection).second;
}

void ConnectionSet::Remove(HttpConnection& connection)
{
    std::function<void()> whenDrained;
    {
        const MutexLock lock(mutex);
        connections.erase(&connection);
        if (connections.empty())
        {
            whenDrained.swap(drained);
        }
    }
    if (whenDrained)
    {
        asio::post(context, std::move(whenDrained));
    }
}

bool ConnectionSet::Sweep()
{
    const uint32 now = tick.fetch_add(1) + 1;
    const MutexLock lock(mutex);
    for (HttpConnection* const connection : connections)
    {
        connection->EndWhenLate(now);
    }
    return !connections.empty();
}

void ConnectionSet::Stop(std::function<void()> whenDrained)
{
    const MutexLock lock(mutex);
    isStopping = true;
    for (HttpConnection* const connection : connections)
    {
        connection->EndWhenIdle();
    }
    if (connections.empty())
    {
        asio::post(context, std::move(whenDrained));
        return;
    }
    drained = std::move(whenDrained);
}

void ConnectionSet::EndAll()
{
    const MutexLock lock(mutex);
    for (HttpConnection* const connection : connections)
    {
        connection->End();
    }
}

HttpConnection::HttpConnection(std::shared_ptr<ConnectionSet> connections, Socket socket)
    : connections(std::move(connections)), socket(std::move(socket)), deadline(noDeadline)
{
}

HttpConnection::~HttpConnection()
{
    Close();
}

void HttpConnection::Start()
{
    if (connections->TryAdd(*this))
    {
        SetDeadline(connections->GetConfiguration().idleTimeout);
        Read();
        return;
    }
    keepsConnection = false;
    SendProblem(*this, Problems::tooManyConnections);
    error_code ignored;
    socket.write_some(MakeBuffer(writer.GetText()), ignored);
    socket.shutdown(Socket::shutdown_send, ignored);
}

void HttpConnection::EndWhenLate(uint32 now) noexcept
{
    if (deadline.load(std::memory_order_relaxed) <= now)
    {
        End();
    }
}

void HttpConnection::EndWhenIdle() noexcept
{
    if (isIdle)
    {
        End();
    }
}

void HttpConnection::End() noexcept
{
    // The operation in progress fails, or the next one, and its handler closes.
    shutdown(socket.native_handle(), SHUT_RDWR);
}

const HttpRequest& HttpConnection::GetRequest() const noexcept
{
    return reader.GetRequest();
}

BasicString HttpConnection::GetClientAddress() const
{
    error_code error;
    const auto endpoint = socket.remote_endpoint(error);
    return error ? BasicString() : endpoint.address().to_string();
}

void HttpConnection::Read()
{
    const auto space = reader.GetSpace();
    socket.async_read_some(asio::buffer(space.data(), space.size()),
                           [self = shared_from_this()](const error_code& error, std::size_t count)
                           {
                               if (error)
                               {
                                   self->Close();
                                   return;
                               }
                               self->reader.Add(count);
                               self->Process();
                           });
}

void HttpConnection::Process()
{
    while (true)
    {
        switch (reader.Parse())
        {
        case RequestReader::Progress::NeedsMore:
            BeginPart();
            Read();
            return;
        case RequestReader::Progress::Complete:
            if (HandleRequest() == Handling::Deferred || !Flush())
            {
                return;
            }
            break;
        case RequestReader::Progress::Failed:
            // The client and this server no longer agree where a request begins, so the connection ends.
            keepsConnection = false;
            SendProblem(*this, reader.GetProblem());
            (void)Flush();
            return;
        }
    }
}

/// Header and body have a time limit each, and a client that waits for it is told to send the body.
void HttpConnection::BeginPart()
{
    if (part == reader.GetPart())
    {
        return;
    }
    part = reader.GetPart();
    if (part == RequestReader::Part::Header)
    {
        SetDeadline(connections->GetConfiguration().headerTimeout);
        return;
    }
    SetDeadline(connections->GetConfiguration().bodyTimeout);
    if (GetRequest().expectsContinue && !reader.HasMore())
    {
        error_code ignored;
        socket.write_some(MakeBuffer("HTTP/1.1 100 Continue\r\n\r\n"), ignored);
    }
}

Handling HttpConnection::HandleRequest()
{
    isIdle.store(false, std::memory_order_relaxed);
    deadline.store(noDeadline, std::memory_order_relaxed);
    keepsConnection = GetRequest().keepsConnection && !connections->IsStopping();
    try
    {
        return connections->GetHandler()(shared_from_this());
    }
    catch (...)
    {
        return FaultReport::Send(*this, "a client");
    }
}

void HttpConnection::Send(const HttpResponse& response)
{
    writer.Write(response, GetRequest(), keepsConnection);
}

void HttpConnection::Resume()
{
    if (Flush())
    {
        Process();
    }
}

/// True when the response is written and the next request may be read.
bool HttpConnection::Flush()
{
    const std::string_view text = writer.GetText();
    error_code error;
    const std::size_t written = socket.write_some(MakeBuffer(text), error);
    if (!error && written == text.size())
    {
        return OnWritten();
    }
    if (error && error != asio::error::would_block)
    {
        Close();
        return false;
    }
    SetDeadline(connections->GetConfiguration().writeTimeout);
    asio::async_write(socket, MakeBuffer(text.substr(written)),
                      [self = shared_from_this()](const error_code& writeError, std::size_t /*count*/)
                      {
                          if (writeError)
                          {
                              self->Close();
                          }
                          else if (self->OnWritten())
                          {
                              self->Process();
                          }
                      });
    return false;
}

bool HttpConnection::OnWritten()
{
    if (keepsConnection && !connections->IsStopping())
    {
        writer.Clear();
        reader.BeginRequest();
        part = RequestReader::Part::None;
        SetDeadline(connections->GetConfiguration().idleTimeout);
        // The order matters: `Stop` sets isStopping first and then looks for idle connections, so one of the two checks
        // sees the other.
        isIdle = true;
        if (!connections->IsStopping())
        {
            return true;
        }
    }
    EndAfterResponse();
    return false;
}

void HttpConnection::EndAfterResponse()
{
    // A server that stops does not wait for clients that have their response and have sent nothing more.
    if (connections->IsStopping() && !reader.HasMore())
    {
        Close();
        return;
    }
    error_code ignored;
    socket.shutdown(Socket::shutdown_send, ignored);
    SetDeadline(lingerTimeout);
    reader.DropAll();
    Linger();
}

/// Reads on until the client has closed its side: closing with unread bytes would destroy the response on its way.
void HttpConnection::Linger()
{
    const auto space = reader.GetSpace();
    socket.async_read_some(asio::buffer(space.data(), space.size()),
                           [self = shared_from_this()](const error_code& error, std::size_t count)
                           {
                               self->lingeredBytes += count;
                               if (error || self->lingeredBytes > maximumLingeredBytes)
                               {
                                   self->Close();
                                   return;
                               }
                               self->Linger();
                           });
}

void HttpConnection::Close()
{
    if (!socket.is_open())
    {
        return;
    }
    connections->Remove(*this);
    error_code ignored;
    socket.close(ignored);
}

void HttpConnection::SetDeadline(std::chrono::seconds timeout) noexcept
{
    // One more: the current tick may be over in a moment.
    deadline.store(connections->GetTick() + static_cast<uint32>(timeout.count()) + 1, std::memory_order_relaxed);
}

} // namespace Oxa::Host::Http
