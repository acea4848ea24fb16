#include "Oxa/System/Rsc/RscVariant.hpp"

#include <fmt/format.h>

namespace Oxa::System::Rsc::Internal
{

BasicString FormatVersion(const RscVersion& version)
{
    return fmt::format("{}", fmt::join(version, "."));
}

BasicString FormatGuid(const RscGuid& guid)
{
    BasicString text;
    for (std::size_t index = 0; index < guid.size(); ++index)
    {
        const bool isGroupStart = index == 4 || index == 6 || index == 8 || index == 10;
        text += fmt::format("{}{:02x}", isGroupStart ? "-" : "", guid.at(index));
    }
    return text;
}

} // namespace Oxa::System::Rsc::Internal
