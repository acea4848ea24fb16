#include "Oxa/System/Commons/NotSupportedException.hpp"

namespace Oxa::System::Commons
{

NotSupportedException::NotSupportedException(const NotSupportedException&) noexcept = default;

NotSupportedException& NotSupportedException::operator=(const NotSupportedException&) noexcept = default;

NotSupportedException::~NotSupportedException() = default;

} // namespace Oxa::System::Commons
