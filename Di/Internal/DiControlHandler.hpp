#pragma once

#include "Di/Internal/DiWbmHandlerBase.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

namespace Oxa::Services::Modules::Wbm::Di::Internal
{

/// Handles the requests that change the controller's state. Keeps no state between requests.
/// Threads: as `DiWbmHandlerBase`. What the platform's services throw is passed on.
class DiControlHandler final : public DiWbmHandlerBase,
                               private System::Commons::Diagnostics::Logging::Loggable<DiControlHandler, false, false>
{
public:
    DiControlHandler();

    [[nodiscard]] bool IsAvailable() const override;
    [[nodiscard]] bool HasPermissions(const System::Um::SecurityToken& token) const override;

    void SubscribeServices();

    /// The response is always true: it only confirms that the restart was requested.
    [[nodiscard]] Services::Commons::Wbm::WbmResponse
    RestartController(const Services::Commons::Wbm::WbmRequest& request) const;

    [[nodiscard]] Services::Commons::Wbm::WbmResponse
    ResetControllerToFactoryDefault(const Services::Commons::Wbm::WbmRequest& request) const;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal
