#include "Oxa/System/Commons/ConfigurationException.hpp"

namespace Oxa::System::Commons
{

ConfigurationException::ConfigurationException(const ConfigurationException&) noexcept = default;

ConfigurationException& ConfigurationException::operator=(const ConfigurationException&) noexcept = default;

ConfigurationException::~ConfigurationException() = default;

} // namespace Oxa::System::Commons
