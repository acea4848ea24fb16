#include "Oxa/Services/Commons/Wbm/Json/JsonResponse.hpp"

#include "Oxa/System/Commons/Json/JsonSerializationContext.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include <utility>

namespace Oxa::Services::Commons::Wbm::Internal::Json
{

using namespace System::Commons::Json;

BooleanResult::BooleanResult(bool result) noexcept : result(result) {}

BooleanResult::~BooleanResult() = default;

void BooleanResult::ReadJson(JsonReader& /*reader*/, JsonSerializationContext& /*context*/) {}

void BooleanResult::WriteJson(JsonWriter& writer, JsonSerializationContext& /*context*/)
{
    writer.WriteValue("result", result);
}

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
