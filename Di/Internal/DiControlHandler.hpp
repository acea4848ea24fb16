#pragma once

#include "Di/Internal/DiWbmHandlerBase.hpp"

namespace Oxa::Services::Modules::Wbm::Di::Internal
{

/// Handles the requests that change the controller's state. Keeps no state between requests.
/// Threads: as `DiWbmHandlerBase`. What the platform's services throw is passed on.
class DiControlHandler final : public DiWbmHandlerBase, private Loggable<DiControlHandler, false, false>
{
public:
    DiControlHandler();

    [[nodiscard]] bool IsAvailable() const override;
    [[nodiscard]] bool HasPermissions(const SecurityToken& token) const override;

    void SubscribeServices();

    /// The response is always true: it only confirms that the restart was requested.
    [[nodiscard]] WbmResponse RestartController(const WbmRequest& request) const;

    [[nodiscard]] WbmResponse ResetControllerToFactoryDefault(const WbmRequest& request) const;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal
