#include "Oxa/System/Um/Services/Internal/AuthorizationService.hpp"

#include "Oxa/System/Um/UserManager.hpp"

#include <exception>

namespace Oxa::System::Um::Services::Internal
{

using System::Commons::Diagnostics::Logging::LogLevel;

AuthorizationService::AuthorizationService(UserManager& userManager) : userManager(userManager) {}

AuthorizationService::~AuthorizationService() = default;

bool AuthorizationService::IsAuthorized(const System::Rsc::RscString<512>& objectName, uint32 permission,
                                        uint32 tokenValue)
{
    try
    {
        return userManager.IsAuthorized(objectName.GetView(), permission, SecurityToken(tokenValue));
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "Access to '{0}' is refused: {1}", objectName.GetView(), exception.what());
        return false;
    }
}

} // namespace Oxa::System::Um::Services::Internal
