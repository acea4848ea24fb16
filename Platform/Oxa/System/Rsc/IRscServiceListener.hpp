#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Rsc
{

/// Is told when the services of a provider go and come, in this process or in another one. Called on the thread that
/// notices it, under no lock; must return soon and call no service.
class OXA_EXPORT IRscServiceListener
{
public:
    virtual ~IRscServiceListener();

    /// `ServiceManager::GetEpoch` has changed: 0 after a loss. In the order of the changes for one provider; calls for
    /// different providers may come at the same time.
    virtual void OnEpochChanged(const BasicString& providerName) noexcept = 0;
};

} // namespace Oxa::System::Rsc
