#include "Oxa/System/Acf/IComponent.hpp"

namespace Oxa::System::Acf
{

IComponent::~IComponent() = default;

} // namespace Oxa::System::Acf
