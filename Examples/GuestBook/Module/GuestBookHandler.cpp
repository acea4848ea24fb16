#include "GuestBookHandler.hpp"

#include "IGuestBookService.hpp"
#include "Oxa/Services/Commons/Wbm/Json/JsonResponse.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Json/IJsonSerializable.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include <utility>

namespace GuestBook
{

using Oxa::BasicString;
using Oxa::System::Commons::ArgumentException;
using Oxa::System::Commons::InvalidOperationException;
using namespace Oxa::Services::Commons::Wbm;
using namespace Oxa::Services::Commons::Wbm::Json;
using namespace Oxa::System::Commons::Json;

namespace
{

/// The payload of an answer: one member "entries".
class Entries final : public IJsonSerializable
{
public:
    explicit Entries(std::vector<BasicString> entries) : entries(std::move(entries)) {}

    /// Does nothing: answers are only written.
    void ReadJson(JsonReader& /*reader*/, JsonSerializationContext& /*context*/) override {}

    void WriteJson(JsonWriter& writer, JsonSerializationContext& /*context*/) override
    {
        writer.WriteSimpleArray("entries", entries);
    }

private:
    std::vector<BasicString> entries;
};

WbmResponse Answer(const BasicString& errorCode, IJsonSerializable& payload, ResultKind kind)
{
    return WbmResponse(ResponseHeader(ContentType::Application, ContentSubtype::Json, CharsetType::Utf8),
                       JsonResponse(errorCode, payload, kind).ToJsonString());
}

} // namespace

GuestBookHandler::GuestBookHandler()
{
    RegisterHandlerDelegate("Sign", HandlerDelegate::Bind(*this, &GuestBookHandler::Sign));
    RegisterHandlerDelegate("GetEntries", HandlerDelegate::Bind(*this, &GuestBookHandler::GetEntries));
}

GuestBookHandler::~GuestBookHandler() = default;

void GuestBookHandler::SetService(std::shared_ptr<IGuestBookService> newService)
{
    service = std::move(newService);
}

bool GuestBookHandler::IsAvailable() const
{
    return service != nullptr;
}

WbmResponse GuestBookHandler::Sign(const WbmRequest& request)
{
    BasicString guest;
    request.GetRequestParams().GetQuery().TryGetParameterValue("guest", guest, false);
    BooleanResult success(true);
    BooleanResult failure(false);
    try
    {
        service->Sign(guest);
    }
    catch (const ArgumentException&)
    {
        return Answer("InvalidInput", failure, ResultKind::Boolean);
    }
    catch (const InvalidOperationException&)
    {
        return Answer("BookFull", failure, ResultKind::Boolean);
    }
    return Answer("", success, ResultKind::Boolean);
}

WbmResponse GuestBookHandler::GetEntries(const WbmRequest& /*request*/)
{
    Entries entries(service->ReadEntries());
    return Answer("", entries, ResultKind::Object);
}

} // namespace GuestBook
