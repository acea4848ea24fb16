#include "Oxa/System/Um/Internal/BuiltInRoles.hpp"

#include "Oxa/System/Um/Permissions.hpp"
#include "Oxa/System/Um/UserManager.hpp"

namespace Oxa::System::Um::Internal
{

namespace
{

constexpr std::string_view adminName = "Admin";
constexpr std::string_view engineerName = "Engineer";
constexpr std::string_view viewerName = "Viewer";
constexpr uint32 everyPermission = 0xFFFFFFFF;

} // namespace

std::vector<RoleInfo> GetBuiltInRoles()
{
    return {{BasicString(adminName), {{"*", everyPermission}}},
            {BasicString(engineerName), {{"oxa.services.wbm/modules/*", executePermission}}},
            {BasicString(viewerName), {}}};
}

bool IsBuiltInRole(std::string_view roleName) noexcept
{
    return roleName == adminName || roleName == engineerName || roleName == viewerName;
}

} // namespace Oxa::System::Um::Internal
