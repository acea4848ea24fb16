#pragma once

#include "Oxa/Device/Interface/Services/AccessErrorCode.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Commands
{

/// The commands behind the control service. `caller` says for the log who asked. Busy while a command is under way, of
/// either kind; NotAvailable when commands have been stopped. Safe from several threads.
class IDeviceCommands
{
public:
    virtual ~IDeviceCommands();

    /// Returns when it is settled whether the restart takes place. It begins after the answer of the call that the
    /// thread carries out has been sent.
    [[nodiscard]] virtual Interface::Services::AccessErrorCode Restart(const BasicString& caller) = 0;

    /// As `Restart`. TimedOut when the reset takes longer than a caller waits: it goes on, and the restart follows.
    [[nodiscard]] virtual Interface::Services::AccessErrorCode FactoryReset(uint16 resetKind,
                                                                            const BasicString& caller) = 0;
};

} // namespace Oxa::Device::Linux::Commands
