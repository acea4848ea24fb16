#include "Oxa/Services/Commons/Wbm/Internal/Json/JsonResponse.hpp"

#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"
#include "Oxa/System/Commons/Json/JsonSerializationContext.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include <utility>

namespace Oxa::Services::Commons::Wbm::Internal::Json
{

using namespace System::Commons::Json;

JsonResponse::JsonResponse(BasicString errorCode, IJsonSerializable& payload, ResultKind resultKind)
    : errorCode(std::move(errorCode)), payload(payload), resultKind(resultKind)
{
}

JsonResponse::~JsonResponse() = default;

BasicString JsonResponse::ToJsonString()
{
    JsonWriter writer;
    JsonSerializationContext context;
    writer.WriteStartObject();
    writer.WriteValue("errorCode", errorCode);
    writer.WriteValue("resultKind", static_cast<uint8>(resultKind));
    writer.WriteStartObject("payload");
    payload.WriteJson(writer, context);
    writer.WriteEndObject();
    writer.WriteEndObject();
    return BasicString(writer.GetText());
}

} // namespace Oxa::Services::Commons::Wbm::Internal::Json
