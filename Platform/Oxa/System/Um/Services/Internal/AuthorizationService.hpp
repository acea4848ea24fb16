#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Um/Services/Internal/IAuthorizationService.hpp"

namespace Oxa::System::Um
{
class UserManager;
}

namespace Oxa::System::Um::Services::Internal
{

/// Asks a user manager, which must outlive it. Safe from any thread. When the user manager fails, that is logged and
/// nothing is authorized.
class OXA_EXPORT AuthorizationService final
    : public IAuthorizationService,
      private System::Commons::Diagnostics::Logging::Loggable<AuthorizationService>
{
public:
    explicit AuthorizationService(UserManager& userManager);
    ~AuthorizationService() override;

    [[nodiscard]] bool IsAuthorized(const System::Rsc::RscString<512>& objectName, uint32 permission,
                                    uint32 tokenValue) override;

private:
    UserManager& userManager;
};

} // namespace Oxa::System::Um::Services::Internal
