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

/// When there are no users: creates one that may do everything, with a password of its own that is kept in the state
/// folder. Returns the password; empty when there were users.
[[nodiscard]] BasicString CreateInitialUser(System::Um::UserManager& users, const StateFolder& stateFolder);

} // namespace Oxa::Host
