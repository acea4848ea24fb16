#include "HelloHandler.hpp"

#include "Oxa/Services/Commons/Wbm/Json/JsonResponse.hpp"
#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include <utility>

namespace Hello
{

using Oxa::BasicString;
using namespace Oxa::Services::Commons::Wbm;
using namespace Oxa::System::Commons::Json;

namespace
{

/// The payload of an answer: one member "greeting".
class Greeting final : public IJsonSerializable
{
public:
    explicit Greeting(BasicString text) : text(std::move(text)) {}

    /// Does nothing: answers are only written.
    void ReadJson(JsonReader& /*reader*/, JsonSerializationContext& /*context*/) override {}

    void WriteJson(JsonWriter& writer, JsonSerializationContext& /*context*/) override
    {
        writer.WriteValue("greeting", text);
    }

private:
    BasicString text;
};

} // namespace

HelloHandler::HelloHandler()
{
    RegisterHandlerDelegate("SayHello", HandlerDelegate::Bind(*this, &HelloHandler::SayHello));
}

HelloHandler::~HelloHandler() = default;

WbmResponse HelloHandler::SayHello(const WbmRequest& request)
{
    BasicString name = "world";
    request.GetRequestParams().GetQuery().TryGetParameterValue("name", name, false);

    Greeting greeting("Hello, " + name + "!");
    Internal::Json::JsonResponse response("", greeting, Internal::Json::ResultKind::Object);
    return WbmResponse(ResponseHeader(ContentType::Application, ContentSubtype::Json, CharsetType::Utf8),
                       response.ToJsonString());
}

} // namespace Hello
