#include "Oxa/System/Commons/InvalidOperationException.hpp"

namespace Oxa::System::Commons
{

InvalidOperationException::InvalidOperationException(const InvalidOperationException&) noexcept = default;

InvalidOperationException& InvalidOperationException::operator=(const InvalidOperationException&) noexcept = default;

InvalidOperationException::~InvalidOperationException() = default;

} // namespace Oxa::System::Commons
