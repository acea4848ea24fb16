#pragma once

#include "Device/Description/DescriptionCursor.hpp"
#include "Device/Description/SourceMaker.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <optional>
#include <vector>

namespace Oxa::Device::Linux::Description
{

/// Reads the sources of one item, which can lie in elements "first" in one another. Borrows the cursor. Threads: one at
/// a time.
class SourceReader final
{
public:
    SourceReader(DescriptionCursor& cursor, std::optional<System::Rsc::RscType> itemType);

    /// The cursor stands on a source's element and then behind it. A null maker for what is no source.
    [[nodiscard]] SourceMaker ReadSource();

    /// Whether one of the sources is one for each core.
    [[nodiscard]] bool IsForEachCore() const noexcept;

private:
    [[nodiscard]] SourceMaker ReadSimple();
    [[nodiscard]] SourceMaker ReadFirst();
    [[nodiscard]] std::vector<SourceMaker> ReadAlternatives();

    DescriptionCursor& cursor;
    const std::optional<System::Rsc::RscType> itemType;
    bool isForEachCore = false;
    int nesting = 0;
};

} // namespace Oxa::Device::Linux::Description
