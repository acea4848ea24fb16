#pragma once

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::System::Rsc
{

/// Why a call did not reach a service or brought no answer.
enum class RscFault : uint8
{
    /// Nobody provides the service. It was not called.
    NotAvailable,
    /// No answer within the deadline. The service may have carried the operation out.
    TimedOut,
    /// The other process went away during the call. The service may have carried the operation out.
    ConnectionLost,
    /// An answer came that is none.
    InvalidResponse,
    /// The caller may not call the service, or too much is waiting for it. It was not called.
    Refused
};

/// A fault of the remote service call layer itself, not of the service. The message names service, operation and cause.
class OXA_EXPORT RscServiceException final : public System::Commons::Exception
{
public:
    RscServiceException(RscFault fault, BasicString message);
    RscServiceException(const RscServiceException&) noexcept;
    RscServiceException& operator=(const RscServiceException&) noexcept;
    ~RscServiceException() override;

    template <class... Args>
    [[nodiscard]] static RscServiceException Create(RscFault fault, std::string_view messageTemplate,
                                                    const Args&... args)
    {
        return {fault, System::Commons::Text::Format(messageTemplate, args...)};
    }

    [[nodiscard]] RscFault GetFault() const noexcept;

private:
    RscFault fault;
};

} // namespace Oxa::System::Rsc
