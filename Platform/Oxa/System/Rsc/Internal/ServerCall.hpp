#pragma once

#include "Oxa/System/Rsc/Internal/BusErrors.hpp"
#include "Oxa/System/Rsc/Internal/BusHandles.hpp"
#include "Oxa/System/Rsc/Internal/ServerCatalog.hpp"

#include <memory>
#include <optional>

namespace Oxa::System::Rsc::Internal
{

class ServerConnection;

/// A call of another process that has come in and is not answered yet. Threads: one at a time.
struct ServerCall final
{
    /// On the calling thread, under no lock; sends the answer.
    void Execute();

    /// "'ReadItem' of the service 'A::B::IC'"
    [[nodiscard]] BasicString Describe() const;

    std::shared_ptr<ServerConnection> connection;
    /// Must be released under the connection's lock.
    MessageHandle request;
    const ServerCatalog::Service* service;
    const RscOperation* operation;
    uint32 userId;
    /// 0 when it is not known.
    int32 processId;

private:
    [[nodiscard]] std::optional<BusError> Invoke(sd_bus_message& answer) const;
};

} // namespace Oxa::System::Rsc::Internal
