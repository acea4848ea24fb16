#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <utility>

namespace Oxa::System::Rsc
{

RscServiceException::RscServiceException(RscFault fault, BasicString message)
    : Exception(std::move(message)), fault(fault)
{
}

RscServiceException::RscServiceException(const RscServiceException&) noexcept = default;

RscServiceException& RscServiceException::operator=(const RscServiceException&) noexcept = default;

RscServiceException::~RscServiceException() = default;

RscFault RscServiceException::GetFault() const noexcept
{
    return fault;
}

} // namespace Oxa::System::Rsc
