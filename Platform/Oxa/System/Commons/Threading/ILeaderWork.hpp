#pragma once

#include "Oxa/System/Commons/Export.hpp"

namespace Oxa::System::Commons::Threading
{

/// What a LeaderTeam does: a loop, given as its step.
class OXA_EXPORT ILeaderWork
{
public:
    virtual ~ILeaderWork();

    /// Runs one thing, or waits until there is one or until `Wake`. Called by the team's leader only; what it throws is
    /// logged, and the loop goes on.
    virtual void RunOne() = 0;

    /// Makes a `RunOne` that waits return soon, and the next one if none waits. Any thread. May throw only for want of
    /// memory.
    virtual void Wake() = 0;
};

} // namespace Oxa::System::Commons::Threading
