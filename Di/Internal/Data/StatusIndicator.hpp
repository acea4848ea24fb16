#pragma once

#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

/// One LED of the front panel. A value type.
class StatusIndicator final : public System::Commons::Json::IJsonSerializable
{
public:
    /// `fullName`: the LED's device item key. `statusWord`: the state in the low 16 bits, the colour in the high 16.
    StatusIndicator(BasicString fullName, uint32 statusWord);
    StatusIndicator(const StatusIndicator&);
    StatusIndicator(StatusIndicator&&) noexcept;
    StatusIndicator& operator=(const StatusIndicator&);
    StatusIndicator& operator=(StatusIndicator&&) noexcept;
    ~StatusIndicator() override;

    /// Does nothing: indicators are only written.
    void ReadJson(System::Commons::Json::JsonReader& reader,
                  System::Commons::Json::JsonSerializationContext& context) override;

    /// Writes one item of the complex array that is open.
    void WriteJson(System::Commons::Json::JsonWriter& writer,
                   System::Commons::Json::JsonSerializationContext& context) override;

private:
    BasicString fullName;
    uint32 stateCode;
    /// Not shifted down: green is 0x00010000. Clients compare against these numbers.
    uint32 colorCode;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
