#pragma once

#include "Oxa/Services/Commons/Wbm/WbmResponse.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Commons::Json
{
class IJsonSerializable;
}

/// The three shapes of an answer. All have the same header, errors included. Safe from any thread.
namespace Oxa::Services::Modules::Wbm::Di::Internal::ResponseEnvelope
{

/// The payload writes its members; what it throws is passed on.
[[nodiscard]] Services::Commons::Wbm::WbmResponse CreateDataResponse(System::Commons::Json::IJsonSerializable& payload);

/// `errorCode`: empty, or the text of a device's refusal.
[[nodiscard]] Services::Commons::Wbm::WbmResponse CreateBooleanResponse(bool result,
                                                                        const BasicString& errorCode = BasicString());

/// Like a boolean answer of false: only the error code tells them apart.
[[nodiscard]] Services::Commons::Wbm::WbmResponse CreateErrorResponse(const BasicString& errorCode);

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::ResponseEnvelope
