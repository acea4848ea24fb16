#pragma once

#include "Oxa/Device/Interface/Services/AccessErrorCode.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogLimit.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <map>

namespace Oxa::Device::Linux::Commands
{

/// Bounds how often refused commands are logged, which callers can bring about at will: ten a minute of each code.
/// Safe from several threads.
class RefusalLogLimits final
{
public:
    RefusalLogLimits();
    ~RefusalLogLimits();

    /// Whether to log a command that ended so. Always true of None, and of TimedOut: such a command may go on.
    [[nodiscard]] bool Admits(Interface::Services::AccessErrorCode code);

private:
    System::Commons::Mutex mutex;
    std::map<Interface::Services::AccessErrorCode, System::Commons::Diagnostics::Logging::LogLimit> limits;
};

} // namespace Oxa::Device::Linux::Commands
