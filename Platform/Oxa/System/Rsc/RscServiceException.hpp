#pragma once

#include "Oxa/System/Commons/Exception.hpp"

namespace Oxa::System::Rsc
{

/// Why a call did not reach a service or brought no answer.
enum class RscFault : uint8
{
    /// Nobody provides the service.
    NotAvailable
};

/// A fault of the remote service call layer itself, not of the service.
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
