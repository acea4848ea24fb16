#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscService.hpp"
#include "Oxa/System/Rsc/RscString.hpp"

namespace Oxa::System::Um::Services::Internal
{

/// Decides what a logged-in user may do. Safe from any thread.
class OXA_EXPORT IAuthorizationService : public System::Rsc::IRscService
{
public:
    ~IAuthorizationService() override;

    /// True when the token's user, as it is at this moment, holds every bit of `permission` on the object. False for a
    /// token that is not or no longer valid.
    [[nodiscard]] virtual bool IsAuthorized(const System::Rsc::RscString<512>& objectName, uint32 permission,
                                            uint32 tokenValue) = 0;
};

} // namespace Oxa::System::Um::Services::Internal
