#pragma once

#include "Oxa/Device/Interface/Services/AccessErrorCode.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Commands
{

/// How a command, or a step of it, ended; for the log with the cause, which is empty for None.
struct [[nodiscard]] CommandResult
{
    Interface::Services::AccessErrorCode code = Interface::Services::AccessErrorCode::None;
    BasicString cause;

    [[nodiscard]] bool IsSuccess() const noexcept
    {
        return code == Interface::Services::AccessErrorCode::None;
    }
};

} // namespace Oxa::Device::Linux::Commands
