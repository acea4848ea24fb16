#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Services::Commons::Wbm
{

// The classes keep the namespace that is part of their symbols; for modules they are `Wbm::Json`.
namespace Internal::Json
{

/// What the payload of a response is; clients read the number.
enum class ResultKind : uint8
{
    None = 0,
    Object = 1,
    Array = 2,
    Text = 3,
    Boolean = 4
};

/// The payload of yes/no responses and of errors: one member "result".
class OXA_EXPORT BooleanResult final : public System::Commons::Json::IJsonSerializable
{
public:
    explicit BooleanResult(bool result) noexcept;
    ~BooleanResult() override;

    /// Does nothing: responses are only written.
    void ReadJson(System::Commons::Json::JsonReader& reader,
                  System::Commons::Json::JsonSerializationContext& context) override;
    void WriteJson(System::Commons::Json::JsonWriter& writer,
                   System::Commons::Json::JsonSerializationContext& context) override;

private:
    bool result;
};

/// The body of every response: {"errorCode":"","resultKind":1,"payload":{…}}.
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

} // namespace Internal::Json

namespace Json = Internal::Json;

} // namespace Oxa::Services::Commons::Wbm
