#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Http/ConnectionTable.hpp"
#include "Host/Http/HostNames.hpp"
#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/RequestReader.hpp"
#include "Host/Http/SecureChannel.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <vector>

namespace Oxa::Host::Http
{

/// What the connections of one server are served with. Immutable.
struct HttpService
{
    Configuration::HttpConfiguration configuration;
    HostNames hostNames;
    HttpHandler handler;
    SessionCheck hasSession;
    /// Empty for plain HTTP.
    SecureChannelFactory secureChannels;
};

/// The connections of one server. Ends them as its table decides: those that have to make room for others, and, checked
/// once a second while there are any, those that take too long. Owned by the server and the connections. Threads: safe
/// from any thread; `TryAdd` and `Stop` on those of the event loop.
class ConnectionGroup final
{
public:
    /// One connection. Removed before it is destroyed.
    class Member : public ConnectionTable::Entry
    {
    public:
        /// Makes the operation in progress fail, or the next one; the connection then closes itself. Called while the
        /// group's lock is held, so that the connection is still there: takes no lock.
        virtual void End() noexcept = 0;

    protected:
        ~Member() = default;
    };

    ConnectionGroup(boost::asio::io_context& context, HttpService newService);
    ConnectionGroup(const ConnectionGroup&) = delete;
    ConnectionGroup& operator=(const ConnectionGroup&) = delete;

    [[nodiscard]] const HttpService& GetService() const noexcept
    {
        return service;
    }

    /// False: too many connections are open, and all of them are busy.
    [[nodiscard]] bool TryAdd(Member& member, const ClientNetwork& network);

    /// The connection is not used any more when this returns.
    void Remove(Member& member);

    /// `hasSession`: whether the last request had one. `unsentBytes`: of the response that has to be kept for the
    /// client.
    void Move(Member& member, ConnectionStage stage, bool hasSession, std::size_t unsentBytes = 0);

    /// From now on connections end after the response to the request in progress.
    [[nodiscard]] bool IsStopping() const noexcept
    {
        return isStopping;
    }

    /// Ends connections without a complete request, and posts `whenDrained` to the event loop when the others have
    /// ended.
    void Stop(std::function<void()> whenDrained);

    /// Ends every connection, with or without a request.
    void EndAll();

private:
    using Clock = std::chrono::steady_clock;

    static void End(const std::vector<ConnectionTable::Entry*>& entries);
    void SweepLater() OXA_REQUIRES(mutex);
    void Sweep();

    boost::asio::io_context& context;
    const HttpService service;
    std::atomic<bool> isStopping = false;

    System::Commons::Mutex mutex;
    boost::asio::steady_timer sweepTimer OXA_GUARDED_BY(mutex);
    bool isSweeping OXA_GUARDED_BY(mutex) = false;
    ConnectionTable table OXA_GUARDED_BY(mutex);
    std::function<void()> drained OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Host::Http
