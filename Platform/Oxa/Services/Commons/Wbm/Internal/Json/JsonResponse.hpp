#pragma once

#include "Oxa/Services/Commons/Wbm/Internal/Json/ResultKind.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Commons::Json
{
class IJsonSerializable;
}

namespace Oxa::Services::Commons::Wbm::Internal::Json
{

/// The body of every answer: {"errorCode":"","resultKind":1,"payload":{…}}.
class OXA_EXPORT JsonResponse final
{
public:
    /// `payload` is borrowed; it writes members into the object that is open.
    JsonResponse(BasicString errorCode, System::Commons::Json::IJsonSerializable& payload, ResultKind resultKind);
    JsonResponse(const JsonResponse&) = delete;
    JsonResponse& operator=(const JsonResponse&) = delete;
    ~JsonResponse();

    /// Passes on what the payload throws.
    [[nodiscard]] BasicString ToJsonString();

private:
    BasicString errorCode;
    System::Commons::Json::IJsonSerializable& payload;
    ResultKind resultKind;
};

} // namespace Oxa::Services::Commons::Wbm::Internal::Json
