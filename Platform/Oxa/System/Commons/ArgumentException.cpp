#include "Oxa/System/Commons/ArgumentException.hpp"

namespace Oxa::System::Commons
{

const char* const ArgumentException::defaultMessage1 = "The argument '{0}' is not valid.";

const char* const ArgumentException::defaultMessage2 = "The argument '{0}' with the value '{1}' is not valid: {2}";

ArgumentException::ArgumentException(const ArgumentException&) noexcept = default;

ArgumentException& ArgumentException::operator=(const ArgumentException&) noexcept = default;

ArgumentException::~ArgumentException() = default;

} // namespace Oxa::System::Commons
