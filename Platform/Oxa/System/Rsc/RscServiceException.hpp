#pragma once

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <string_view>
#include <utility>

namespace Oxa::System::Rsc
{

/// Why a call did not reach a service or brought no response.
enum class RscFault : uint8
{
    /// The service is not provided. It was not called.
    NotAvailable,
    /// No response within the deadline. The service may have carried the operation out.
    TimedOut,
    /// The connection ended during the call. The service may have carried the operation out.
    ConnectionLost,
    /// The response is invalid.
    InvalidResponse,
    /// The caller may not call the service, or too many calls are in progress. It was not called.
    Refused
};

/// A fault of the remote service call layer itself, not of the service. The message names service, operation and cause.
class OXA_EXPORT RscServiceException final : public System::Commons::Exception
{
public:
    RscServiceException(RscFault fault, BasicString message) : Exception(std::move(message)), fault(fault) {}

    ~RscServiceException() override;

    template <class... Args>
    [[nodiscard]] static RscServiceException Create(RscFault fault, std::string_view messageTemplate,
                                                    const Args&... args)
    {
        return {fault, System::Commons::Text::Format(messageTemplate, args...)};
    }

    [[nodiscard]] RscFault GetFault() const noexcept
    {
        return fault;
    }

private:
    RscFault fault;
};

} // namespace Oxa::System::Rsc
