#pragma once

#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"

#include <memory>

namespace GuestBook
{

class IGuestBookService;

/// Answers the requests of the data provider "GuestBookDp".
class GuestBookHandler final : public Oxa::Services::Commons::Wbm::Modules::WbmRequestHandlerBase
{
public:
    GuestBookHandler();
    ~GuestBookHandler() override;

    /// Null: there is none, requests get 503. Requires: no request is under way.
    void SetService(std::shared_ptr<IGuestBookService> newService);

    [[nodiscard]] bool IsAvailable() const override;

private:
    using WbmRequest = Oxa::Services::Commons::Wbm::WbmRequest;
    using WbmResponse = Oxa::Services::Commons::Wbm::WbmResponse;

    /// "Sign": writes the query parameter "guest" into the book. A wrong name is answered with "InvalidInput".
    WbmResponse Sign(const WbmRequest& request);
    /// "GetEntries": the payload is {"entries":[…]}.
    WbmResponse GetEntries(const WbmRequest& request);

    std::shared_ptr<IGuestBookService> service;
};

} // namespace GuestBook
