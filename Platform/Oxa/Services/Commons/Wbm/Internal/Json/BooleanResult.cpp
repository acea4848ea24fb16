#include "Oxa/Services/Commons/Wbm/Internal/Json/BooleanResult.hpp"

#include "Oxa/System/Commons/Json/JsonWriter.hpp"

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

} // namespace Oxa::Services::Commons::Wbm::Internal::Json
