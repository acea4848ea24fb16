#include "Oxa/System/Rsc/IRscService.hpp"

namespace Oxa::System::Rsc
{

IRscService::~IRscService() = default;

} // namespace Oxa::System::Rsc
