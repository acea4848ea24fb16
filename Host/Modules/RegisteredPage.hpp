#pragma once

#include "Host/Modules/RegisteredHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/Registration/PageInfo.hpp"

#include <utility>

namespace Oxa::Services::Commons::Wbm::Modules
{
class WbmPageHandlerBase;
}

namespace Oxa::Host::Modules
{

/// One registered page.
struct RegisteredPage : RegisteredHandler<Services::Commons::Wbm::Modules::WbmPageHandlerBase>
{
    using PageInfo = Services::Commons::Wbm::Modules::Registration::PageInfo;

    explicit RegisteredPage(PageInfo info) : info(std::move(info)) {}

    [[nodiscard]] const BasicString& GetName() const noexcept
    {
        return info.GetPageName();
    }

    PageInfo info;
};

} // namespace Oxa::Host::Modules
