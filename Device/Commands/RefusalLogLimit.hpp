#pragma once

#include "Oxa/Device/Interface/Services/AccessErrorCode.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <chrono>
#include <map>

namespace Oxa::Device::Linux::Commands
{

/// Bounds how often refused commands are logged, which callers can bring about at will: ten a minute of each code.
/// Safe from several threads.
class RefusalLogLimit final
{
public:
    RefusalLogLimit();
    ~RefusalLogLimit();

    /// Whether to log a command that ended so. Always true of None, and of TimedOut: such a command may go on.
    [[nodiscard]] bool Admits(Interface::Services::AccessErrorCode code);

private:
    struct Period
    {
        std::chrono::steady_clock::time_point begin;
        unsigned count = 0;
    };

    System::Commons::Mutex mutex;
    std::map<Interface::Services::AccessErrorCode, Period> periods;
};

} // namespace Oxa::Device::Linux::Commands
