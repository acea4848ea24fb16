#include "Oxa/System/Rsc/IRscServiceListener.hpp"

namespace Oxa::System::Rsc
{

IRscServiceListener::~IRscServiceListener() = default;

} // namespace Oxa::System::Rsc
