#include "Di/Internal/Data/StatusIndicator.hpp"

#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include <utility>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

using System::Commons::Json::JsonReader;
using System::Commons::Json::JsonSerializationContext;
using System::Commons::Json::JsonWriter;

namespace
{

constexpr uint32 stateMask = 0xFFFF;
constexpr uint32 colorMask = 0xFFFF0000;

} // namespace

StatusIndicator::StatusIndicator(BasicString fullName, uint32 statusWord)
    : fullName(std::move(fullName)), stateCode(statusWord & stateMask), colorCode(statusWord & colorMask)
{
}

StatusIndicator::StatusIndicator(const StatusIndicator&) = default;

StatusIndicator::StatusIndicator(StatusIndicator&&) noexcept = default;

StatusIndicator& StatusIndicator::operator=(const StatusIndicator&) = default;

StatusIndicator& StatusIndicator::operator=(StatusIndicator&&) noexcept = default;

StatusIndicator::~StatusIndicator() = default;

void StatusIndicator::ReadJson(JsonReader& /*reader*/, JsonSerializationContext& /*context*/) {}

void StatusIndicator::WriteJson(JsonWriter& writer, JsonSerializationContext& /*context*/)
{
    writer.TryWriteStartComplexArrayItem();
    writer.WriteValue("fullName", fullName);
    writer.WriteValue("stateCode", stateCode);
    writer.WriteValue("colorCode", colorCode);
    writer.WriteEndComplexArrayItem();
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
