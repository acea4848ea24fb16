#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Rsc
{

/// Is told when services of a provider go and come, in this process or in another one. Called on whatever thread
/// notices it, and by several at once, without a lock; must return soon and call no service.
class OXA_EXPORT IRscServiceListener
{
public:
    virtual ~IRscServiceListener();

    /// Before any call can reach the process that comes next. May come more than once.
    virtual void OnServicesLost(const BasicString& providerName) noexcept = 0;

    /// All services of the provider that this process has ever asked for can be had; it may be another process now.
    virtual void OnServicesAvailable(const BasicString& providerName) noexcept = 0;
};

} // namespace Oxa::System::Rsc
