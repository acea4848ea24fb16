#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"

namespace Oxa::Services::Commons::Wbm::Modules
{

WbmPageHandlerBase::WbmPageHandlerBase() = default;

WbmPageHandlerBase::~WbmPageHandlerBase() = default;

VisibilityAttribute WbmPageHandlerBase::GetVisibilityAttribute(const System::Um::SecurityToken& token)
{
    if (!HasPermissions(token))
    {
        return VisibilityAttribute::Hidden;
    }
    return IsAvailable() ? VisibilityAttribute::Visible : VisibilityAttribute::Disabled;
}

bool WbmPageHandlerBase::IsAvailable() const
{
    return true;
}

bool WbmPageHandlerBase::HasPermissions(const System::Um::SecurityToken& token) const
{
    return token != System::Um::SecurityToken();
}

} // namespace Oxa::Services::Commons::Wbm::Modules
