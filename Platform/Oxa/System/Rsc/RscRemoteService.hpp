#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <functional>
#include <memory>

namespace Oxa::System::Rsc
{

namespace Internal
{
class Endpoint;
}

class RscMessageReader;
class RscMessageWriter;
struct RscOperation;

/// A service in another process, as the implementations that a proxy factory's `CreateRemote` makes call it. Shared by
/// them. Threads: safe from several threads, which do not wait for each other's responses.
class OXA_EXPORT RscRemoteService final
{
public:
    using WriteFunction = std::function<void(RscMessageWriter&)>;
    using ReadFunction = std::function<void(RscMessageReader&)>;

    /// `interfaceName`: as the proxy factory gives it.
    RscRemoteService(std::shared_ptr<Internal::Endpoint> endpoint, const BasicString& interfaceName);
    RscRemoteService(const RscRemoteService&) = delete;
    RscRemoteService& operator=(const RscRemoteService&) = delete;
    ~RscRemoteService();

    /// Calls the operation and waits for its response, at most as long as the endpoint's configuration allows for its
    /// kind. One message goes each way, and only once. Either function may be empty. Throws RscServiceException, and as
    /// what it was what the service threw: ArgumentException, InvalidOperationException, NotSupportedException, else
    /// Exception. What the functions throw is passed on; an RscServiceException with the operation's name before it.
    void Call(const RscOperation& operation, const WriteFunction& writeArguments, const ReadFunction& readResults);

private:
    const std::shared_ptr<Internal::Endpoint> endpoint;
    const BasicString interfaceName;
};

} // namespace Oxa::System::Rsc
