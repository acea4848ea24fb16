#pragma once

namespace Oxa::System::Commons::Json
{

/// What an object may want to know about the document it is written to or read from. Nothing so far; passed on by
/// every object to its parts.
class JsonSerializationContext final
{
};

} // namespace Oxa::System::Commons::Json
