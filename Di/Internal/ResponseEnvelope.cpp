#include "Di/Internal/ResponseEnvelope.hpp"

#include "Oxa/Services/Commons/Wbm/Json/JsonResponse.hpp"

namespace Oxa::Services::Modules::Wbm::Di::Internal::ResponseEnvelope
{

using Services::Commons::Wbm::CharsetType;
using Services::Commons::Wbm::ContentSubtype;
using Services::Commons::Wbm::ContentType;
using Services::Commons::Wbm::ResponseHeader;
using Services::Commons::Wbm::WbmResponse;
using Services::Commons::Wbm::Internal::Json::BooleanResult;
using Services::Commons::Wbm::Internal::Json::JsonResponse;
using Services::Commons::Wbm::Internal::Json::ResultKind;
using System::Commons::Json::IJsonSerializable;

namespace
{

WbmResponse Create(const BasicString& errorCode, IJsonSerializable& payload, ResultKind resultKind)
{
    JsonResponse response(errorCode, payload, resultKind);
    BasicString body = response.ToJsonString();
    const ResponseHeader header(ContentType::Application, ContentSubtype::Json, CharsetType::Utf8);
    return {header, std::move(body)};
}

} // namespace

WbmResponse CreateDataResponse(IJsonSerializable& payload)
{
    return Create(BasicString(), payload, ResultKind::Object);
}

WbmResponse CreateBooleanResponse(bool result, const BasicString& errorCode)
{
    BooleanResult payload(result);
    return Create(errorCode, payload, ResultKind::Boolean);
}

WbmResponse CreateErrorResponse(const BasicString& errorCode)
{
    return CreateBooleanResponse(false, errorCode);
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::ResponseEnvelope
