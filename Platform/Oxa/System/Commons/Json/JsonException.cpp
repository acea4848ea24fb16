#include "Oxa/System/Commons/Json/JsonException.hpp"

namespace Oxa::System::Commons::Json
{

JsonException::JsonException(const JsonException&) noexcept = default;

JsonException& JsonException::operator=(const JsonException&) noexcept = default;

JsonException::~JsonException() = default;

} // namespace Oxa::System::Commons::Json
