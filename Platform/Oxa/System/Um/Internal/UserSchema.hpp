#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Um::Internal
{

class SqliteConnection;

/// Makes the database ready: gives an empty one its tables and the built-in roles, and leaves one of another program or
/// of a newer version as it is. Throws InvalidOperationException with path and cause.
void PrepareUserSchema(SqliteConnection& connection, const BasicString& path);

} // namespace Oxa::System::Um::Internal
