#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogLevel.hpp"
#include "Oxa/System/Commons/Export.hpp"

#include <string_view>

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// One class's way to the log. Safe from any thread; never throws.
class OXA_EXPORT ILogAdapter
{
public:
    virtual ~ILogAdapter();

    /// Messages above this level are not wanted, and need not be formatted. Follows a later `LogManager::Configure`.
    [[nodiscard]] virtual LogLevel GetLevel() const noexcept = 0;

    virtual void Write(LogLevel level, std::string_view message) noexcept = 0;
};

} // namespace Oxa::System::Commons::Diagnostics::Logging
