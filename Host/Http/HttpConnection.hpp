#pragma once

#include "Host/Http/ClientStream.hpp"

#include <boost/asio/ip/address.hpp>

#include <memory>

namespace Oxa::Host::Http
{

class ConnectionGroup;

/// Serves a client's requests, in order, with the handler of the group, until the connection ends; the connection joins
/// the group meanwhile and keeps it alive. Too many connections: tells the client. `client`: the socket's other end.
/// Throws when memory is short, and the connection is then closed. On a thread of the event loop.
void ServeClient(std::shared_ptr<ConnectionGroup> group, ClientStream::Socket socket,
                 const boost::asio::ip::address& client);

} // namespace Oxa::Host::Http
