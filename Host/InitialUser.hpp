#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Um
{
class UserManager;
}

namespace Oxa::Host
{

class StateFolder;

inline constexpr const char* initialUserName = "admin";

/// When nobody has the role "Admin", and nobody the name: creates a user that may do everything, with a password of its
/// own that is kept in the state folder. So a machine can always be managed, whatever users were added or removed
/// before. Returns the password; empty when nothing was to do. Safe when several processes start at the same time.
[[nodiscard]] BasicString CreateInitialUser(System::Um::UserManager& users, const StateFolder& stateFolder);

} // namespace Oxa::Host
