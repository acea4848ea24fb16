#pragma once

#include <string_view>

namespace Oxa::Host::Api
{

/// The description of the HTTP interface, OpenAPI 3.1 in JSON: openapi.json as it was when the host was built.
[[nodiscard]] std::string_view GetOpenApiDocument() noexcept;

} // namespace Oxa::Host::Api
