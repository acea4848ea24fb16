#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"

namespace Oxa::Services::Commons::Wbm::Internal::Json
{

/// The payload of yes/no answers and of errors: one member "result".
class OXA_EXPORT BooleanResult final : public System::Commons::Json::IJsonSerializable
{
public:
    explicit BooleanResult(bool result) noexcept;
    ~BooleanResult() override;

    /// Does nothing: answers are only written.
    void ReadJson(System::Commons::Json::JsonReader& reader,
                  System::Commons::Json::JsonSerializationContext& context) override;
    void WriteJson(System::Commons::Json::JsonWriter& writer,
                   System::Commons::Json::JsonSerializationContext& context) override;

private:
    bool result;
};

} // namespace Oxa::Services::Commons::Wbm::Internal::Json
