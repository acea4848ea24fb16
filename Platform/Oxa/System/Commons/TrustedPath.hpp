#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <optional>

namespace Oxa::System::Commons
{

/// Why users other than root and the one of this process could change a file or folder or put another one in its place:
/// "PATH CAUSE", for messages, also when it does not exist or cannot be reached. Empty when no other user could.
///
/// Every folder above it, also those that symbolic links lead through, and the file or folder itself belong to root or
/// this user, and neither the group nor others may write them. Two exceptions: a folder above with the sticky bit, such
/// as "/tmp", where others can create but not replace; and a group that has its owner's name and no other user as a
/// member, which a umask of 002 relies on.
///
/// Since no other user can change any part of the path, the result also holds when the path is opened later.
[[nodiscard]] OXA_EXPORT std::optional<BasicString> FindPathWeakness(const BasicString& path);

/// The same for a path that may not exist; if it does not, whether another user could create it.
[[nodiscard]] OXA_EXPORT std::optional<BasicString> FindOptionalPathWeakness(const BasicString& path);

} // namespace Oxa::System::Commons
