#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>

namespace Oxa::System::Commons::Xml::Internal
{

/// The whole content of a regular file. Throws XmlException, naming file and cause, when it cannot be read, is a folder
/// or has more bytes than allowed; a file that never ends is not read any further than that.
[[nodiscard]] BasicString ReadLimitedFile(const BasicString& fileName, std::size_t maximumBytes);

} // namespace Oxa::System::Commons::Xml::Internal
