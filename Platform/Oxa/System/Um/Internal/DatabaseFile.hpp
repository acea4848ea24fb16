#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Um::Internal
{

/// Makes sure that there is a file that this process may read and write; a new one is its owner's only (mode 600), and
/// so are the files that SQLite lays beside it. Throws InvalidOperationException with path and cause.
void PrepareDatabaseFile(const BasicString& path);

} // namespace Oxa::System::Um::Internal
