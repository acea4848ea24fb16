#pragma once

#include "Oxa/Services/Commons/Wbm/WbmResponse.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Commons::Json
{
class IJsonSerializable;
}

/// The three kinds of responses. All have the same header, errors included. Safe from any thread.
namespace Oxa::Services::Modules::Wbm::Di::Internal::ResponseEnvelope
{

/// The payload writes its members; what it throws is passed on.
[[nodiscard]] Services::Commons::Wbm::WbmResponse CreateDataResponse(System::Commons::Json::IJsonSerializable& payload);

/// `errorCode`: empty, or the error text of a device.
[[nodiscard]] Services::Commons::Wbm::WbmResponse CreateBooleanResponse(bool result,
                                                                        const BasicString& errorCode = BasicString());

/// Like a boolean response of false: only the error code tells them apart.
[[nodiscard]] Services::Commons::Wbm::WbmResponse CreateErrorResponse(const BasicString& errorCode);

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::ResponseEnvelope
