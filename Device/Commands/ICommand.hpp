#pragma once

#include "Device/Commands/CommandResult.hpp"

namespace Oxa::Device::Linux::Commands
{

/// One command to the device, carried out once. Threads: made by any, then used and destroyed by the runner's thread.
class ICommand
{
public:
    virtual ~ICommand();

    /// Does everything that decides the answer to the caller. None means that the command goes on with `Complete`.
    virtual CommandResult Prepare() = 0;

    /// What follows when the answer has been sent. Called after `Prepare` gave None only.
    virtual CommandResult Complete() = 0;
};

} // namespace Oxa::Device::Linux::Commands
