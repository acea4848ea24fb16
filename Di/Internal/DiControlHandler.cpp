#include "Di/Internal/DiControlHandler.hpp"

#include "Di/Internal/ResponseEnvelope.hpp"
#include "Oxa/System/Commons/Text.hpp"

namespace Oxa::Services::Modules::Wbm::Di::Internal
{

using Oxa::Device::Interface::Services::AccessErrorCode;
using Oxa::Device::Interface::Services::IDeviceControlService;
using Services::Commons::Wbm::WbmRequest;
using Services::Commons::Wbm::WbmResponse;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Text::Format;
using System::Um::SecurityToken;

namespace
{

const BasicString restartControllerRequest = "RestartController";
const BasicString resetControllerToFactoryDefaultRequest = "ResetControllerToFactoryDefault";

} // namespace

DiControlHandler::DiControlHandler()
{
    RegisterHandlerDelegate(restartControllerRequest,
                            HandlerDelegate::Bind(*this, &DiControlHandler::RestartController));
    RegisterHandlerDelegate(resetControllerToFactoryDefaultRequest,
                            HandlerDelegate::Bind(*this, &DiControlHandler::ResetControllerToFactoryDefault));
}

bool DiControlHandler::IsAvailable() const
{
    return BaseServicesAvailable();
}

bool DiControlHandler::HasPermissions(const SecurityToken& token) const
{
    return HasPermissionOnObject(token, deviceControlObjectName);
}

void DiControlHandler::SubscribeServices()
{
    SubscribeBaseServices();
}

WbmResponse DiControlHandler::RestartController(const WbmRequest& /*request*/) const
{
    deviceControlService->Restart();
    return ResponseEnvelope::CreateBooleanResponse(true);
}

WbmResponse DiControlHandler::ResetControllerToFactoryDefault(const WbmRequest& /*request*/) const
{
    const AccessErrorCode code = deviceControlService->FactoryReset(IDeviceControlService::resetToFactoryDefault);
    if (code == AccessErrorCode::None)
    {
        return ResponseEnvelope::CreateBooleanResponse(true);
    }
    const BasicString errorText = Format("{0}", code);
    Log(LogLevel::Error, "Failed to reset the controller to factory defaults. Error: {0}", code);
    return ResponseEnvelope::CreateBooleanResponse(false, errorText);
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal
