#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/ServerCall.hpp"

#include <cstddef>
#include <deque>

namespace Oxa::System::Rsc::Internal
{

class ServerUsers;

/// Decides which calls of one connection are carried out: bounds how many are under way at a time, and lets only those
/// through whose users may make them. The others are answered with a refusal. Owned by the connection; everything under
/// its lock.
class ServerAdmission final
{
public:
    /// Borrows both; appends the calls that are to be carried out to `admittedCalls`.
    ServerAdmission(ServerUsers& users, std::deque<ServerCall>& admittedCalls) noexcept;
    ServerAdmission(const ServerAdmission&) = delete;
    ServerAdmission& operator=(const ServerAdmission&) = delete;
    ~ServerAdmission() = default;

    // Throw InvalidOperationException when a refusal cannot be sent.

    /// Counts a call that came in as under way. False, and it is refused, when there are too many.
    [[nodiscard]] bool TryBegin(const ServerCall& call);
    /// Requires: `TryBegin`.
    void Admit(ServerCall call);
    /// An admitted call has been carried out.
    void End() noexcept;

private:
    void Refuse(const ServerCall& call, const BasicString& reason);

    ServerUsers& users;
    std::deque<ServerCall>& admittedCalls;
    std::size_t callsUnderWay = 0;
};

} // namespace Oxa::System::Rsc::Internal
