#pragma once

#include "Items/Internal/ItemsPayload.hpp"
#include "Oxa/Device/Interface/Services/IDeviceItemService.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogRateLimiter.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <optional>
#include <vector>

namespace Oxa::Services::Modules::Wbm::Items::Internal
{

/// Handles the requests of the data provider "DeviceItemsDp", and the page. The list of all items is read from the
/// service with the first request after `SubscribeService`, their values with every request.
/// Threads: not locked; the host never has two requests in progress, and sets the module up only while it has none.
/// A proxy's RscServiceException is passed on, for the host to respond that the service is away.
class ItemsHandler final : public Services::Commons::Wbm::Modules::WbmPageHandlerBase,
                           public Services::Commons::Wbm::Modules::WbmRequestHandlerBase,
                           private System::Commons::Diagnostics::Logging::Loggable<ItemsHandler>
{
public:
    ItemsHandler();

    [[nodiscard]] bool IsAvailable() const override;

    /// Leaves the handler not available when no process provides the service.
    void SubscribeService();
    void ReleaseService() noexcept;

private:
    using WbmRequest = Services::Commons::Wbm::WbmRequest;
    using WbmResponse = Services::Commons::Wbm::WbmResponse;

    /// The state of all items, or of those whose key begins with `prefix` and is greater than `after`.
    [[nodiscard]] WbmResponse GetItems(const WbmRequest& request);
    /// Of the item `key` between `from` and `to`, as `points` points.
    [[nodiscard]] WbmResponse GetHistory(const WbmRequest& request);

    template <class TFunction>
    [[nodiscard]] WbmResponse CallService(const BasicString& requestName, const TFunction& function);
    void ReadList();
    [[nodiscard]] const BasicString& FindUnit(const BasicString& key) const;

    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceItemService> service;
    /// In the order of their keys; empty before it is read.
    std::optional<std::vector<ListedItem>> list;
    System::Commons::Diagnostics::Logging::LogRateLimiter failureLogLimiter;
};

} // namespace Oxa::Services::Modules::Wbm::Items::Internal
