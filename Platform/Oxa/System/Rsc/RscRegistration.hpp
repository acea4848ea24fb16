#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <vector>

namespace Oxa::System::Rsc
{

namespace Internal
{
struct Registration;
}

class IRscService;
class IRscServiceProxyFactory;

/// The services that this process provides under one provider name: all of them are available from the constructor to
/// the destructor, as those of one run of a device. Owned by the component that implements them. Threads: made and
/// destroyed by one at a time.
class OXA_EXPORT RscRegistration final
{
public:
    struct Service
    {
        /// Names provider and interface. Lives as long as the interface's library.
        IRscServiceProxyFactory& factory;
        /// Never null. Its operations are safe from several threads.
        std::shared_ptr<IRscService> implementation;
    };

    /// `bootId`, `buildId`: the run's identity. A registration with the identity of the one before continues its epoch,
    /// unless `bootId` is empty. Throws ArgumentException when there is no service, an implementation is null, or the
    /// services have several providers; InvalidOperationException when the provider is registered already.
    RscRegistration(BasicString bootId, BasicString buildId, std::vector<Service> services);
    RscRegistration(const RscRegistration&) = delete;
    RscRegistration& operator=(const RscRegistration&) = delete;

    /// Withdraws all services. Calls in progress finish with the implementation that they began with.
    ~RscRegistration();

private:
    const std::shared_ptr<Internal::Registration> registration;
};

} // namespace Oxa::System::Rsc
