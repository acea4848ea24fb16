#pragma once

#include "Oxa/System/Commons/Export.hpp"

#include <memory>

namespace Oxa::System::Rsc
{

class IRscService;
class IRscServiceProxyFactory;

/// Brings the users and the providers of services together. Safe from any thread.
class OXA_EXPORT ServiceManager final
{
public:
    ServiceManager() = delete;

    /// A new proxy, owned by the caller; null when nobody provides the service. The proxy stays usable when the
    /// provider goes and comes back; meanwhile its calls throw RscServiceException.
    [[nodiscard]] static IRscService* GetService(const char* providerName, IRscServiceProxyFactory& factory);

    /// Provides an implementation under the names that the interface's factory gives. Replaces an earlier one. The
    /// implementation's operations must be safe from several threads.
    static void RegisterService(IRscServiceProxyFactory& factory, std::shared_ptr<IRscService> implementation);

    /// Takes back whatever implementation is provided under these names now. Calls under way finish.
    static void UnregisterService(IRscServiceProxyFactory& factory);
};

} // namespace Oxa::System::Rsc
