#include "Oxa/System/Commons/InvalidCastException.hpp"

namespace Oxa::System::Commons
{

InvalidCastException::InvalidCastException(const InvalidCastException&) noexcept = default;

InvalidCastException& InvalidCastException::operator=(const InvalidCastException&) noexcept = default;

InvalidCastException::~InvalidCastException() = default;

} // namespace Oxa::System::Commons
