#include "Di/Internal/DiHandler.hpp"

#include "Di/Internal/Data/DataSections.hpp"
#include "Di/Internal/Data/DateTime.hpp"
#include "Di/Internal/Data/DeviceHealth.hpp"
#include "Di/Internal/Data/DiRscData.hpp"
#include "Di/Internal/Data/GeneralData.hpp"
#include "Di/Internal/Data/StatusIndicators.hpp"
#include "Di/Internal/Data/Utilization.hpp"
#include "Di/Internal/ResponseEnvelope.hpp"
#include "Oxa/System/Rsc/RscString.hpp"
#include "Oxa/System/Rsc/RscVariant.hpp"

#include <algorithm>

namespace Oxa::Services::Modules::Wbm::Di::Internal
{

using Data::DataSection;
using Data::DataSections;
using Data::DiRscData;
using Services::Commons::Wbm::WbmRequest;
using Services::Commons::Wbm::WbmResponse;
using System::Rsc::RscString;
using System::Rsc::RscVariant;

namespace
{

const BasicString getDataSectionRequest = "GetDataSection";
const BasicString getDataSectionsRequest = "GetDataSections";
const BasicString hasControlPermissionsRequest = "HasControlPermissions";
const BasicString isRunStopSwitchSupportedRequest = "IsRunStopSwitchSupported";
const BasicString isRunStopSwitchInRunRequest = "IsRunStopSwitchInRun";

const BasicString sectionNameParameter = "SectionName";

const BasicString dateTimeSection = "DateTime";
const BasicString generalDataSection = "GeneralData";
const BasicString healthSection = "Health";
const BasicString statusIndicatorsSection = "StatusIndicators";
const BasicString utilizationSection = "Utilization";

// The two data requests use different codes for the same kind of fault: clients tell the requests apart by them.
const BasicString invalidRequest = "InvalidRequest";
const BasicString invalidInput = "InvalidInput";
const BasicString unknownError = "UnknownError";
const BasicString dataUpdateError = "DataUpdateError";

const BasicString runStopSwitchSupportedKey = "Status.RunStopSwitch.Supported";
const BasicString runStopSwitchPositionKey = "Status.RunStopSwitch.Position";
const BasicString runPosition = "Run";

} // namespace

DiHandler::DiHandler(Settings::DiSettings& settings) : settings(settings)
{
    dataSections.push_back(std::make_shared<Data::DateTime>(dateTimeSection, deviceStatusService, rtcService));
    dataSections.push_back(std::make_shared<Data::GeneralData>(generalDataSection, deviceInfoService, this->settings));
    dataSections.push_back(std::make_shared<Data::DeviceHealth>(healthSection, deviceStatusService));
    dataSections.push_back(std::make_shared<Data::StatusIndicators>(statusIndicatorsSection, deviceStatusService));
    dataSections.push_back(
        std::make_shared<Data::Utilization>(utilizationSection, deviceStatusService, deviceInfoService));

    RegisterHandlerDelegate(getDataSectionRequest, HandlerDelegate::Bind(*this, &DiHandler::GetDataSection));
    RegisterHandlerDelegate(getDataSectionsRequest, HandlerDelegate::Bind(*this, &DiHandler::GetDataSections));
    RegisterHandlerDelegate(hasControlPermissionsRequest,
                            HandlerDelegate::Bind(*this, &DiHandler::HasControlPermissions));
    RegisterHandlerDelegate(isRunStopSwitchSupportedRequest,
                            HandlerDelegate::Bind(*this, &DiHandler::IsRunStopSwitchSupported));
    RegisterHandlerDelegate(isRunStopSwitchInRunRequest,
                            HandlerDelegate::Bind(*this, &DiHandler::IsRunStopSwitchInRun));
}

bool DiHandler::IsAvailable() const
{
    return BaseServicesAvailable();
}

void DiHandler::SubscribeServices()
{
    SubscribeBaseServices();
}

void DiHandler::Setup() const
{
    for (const auto& section : dataSections)
    {
        section->Setup();
    }
}

WbmResponse DiHandler::GetDataSection(const WbmRequest& request)
{
    BasicString name;
    if (!request.GetRequestParams().GetQuery().TryGetParameterValue(sectionNameParameter, name, false))
    {
        return ResponseEnvelope::CreateErrorResponse(invalidRequest);
    }
    if (!ValidateDataSectionName(name))
    {
        return ResponseEnvelope::CreateErrorResponse(invalidInput);
    }
    DataSection* const section = GetDeviceDataSection(name);
    if (section == nullptr || !section->UpdateData())
    {
        return ResponseEnvelope::CreateErrorResponse(unknownError);
    }
    return ResponseEnvelope::CreateDataResponse(*section);
}

WbmResponse DiHandler::GetDataSections(const WbmRequest& request)
{
    const BasicString sectionsNames = request.GetRequestParams().GetQuery().GetQueryString(true);
    const std::vector<BasicString> names = DataSections::ParseSectionsNamesList(sectionsNames);
    if (!ValidateDataSectionsList(names))
    {
        return ResponseEnvelope::CreateErrorResponse(invalidRequest);
    }
    std::vector<DataSection*> sections = GetDeviceDataSections(names);
    DataSections payload(sections);
    if (!payload.UpdateData())
    {
        return ResponseEnvelope::CreateErrorResponse(dataUpdateError);
    }
    return ResponseEnvelope::CreateDataResponse(payload);
}

WbmResponse DiHandler::HasControlPermissions(const WbmRequest& request) const
{
    return ResponseEnvelope::CreateBooleanResponse(
        HasPermissionOnObject(request.GetSecurityToken(), deviceControlObjectName));
}

WbmResponse DiHandler::IsRunStopSwitchSupported(const WbmRequest& /*request*/)
{
    const RscVariant<512> value = deviceStatusService->ReadItem(RscString<512>(runStopSwitchSupportedKey));
    bool isSupported = false;
    DiRscData::ConvRscVariant512Value(value, isSupported);
    return ResponseEnvelope::CreateBooleanResponse(isSupported);
}

WbmResponse DiHandler::IsRunStopSwitchInRun(const WbmRequest& /*request*/)
{
    const RscVariant<512> value = deviceStatusService->ReadItem(RscString<512>(runStopSwitchPositionKey));
    BasicString position;
    DiRscData::ConvRscVariant512Value(value, position);
    return ResponseEnvelope::CreateBooleanResponse(position == runPosition);
}

bool DiHandler::ValidateDataSectionName(const BasicString& name)
{
    return GetDeviceDataSection(name) != nullptr;
}

bool DiHandler::ValidateDataSectionsList(const std::vector<BasicString>& names)
{
    return std::all_of(names.begin(), names.end(),
                       [this](const BasicString& name) { return ValidateDataSectionName(name); });
}

DataSection* DiHandler::GetDeviceDataSection(const BasicString& name)
{
    for (const auto& section : dataSections)
    {
        if (section->GetName() == name)
        {
            return section.get();
        }
    }
    return nullptr;
}

std::vector<DataSection*> DiHandler::GetDeviceDataSections(const std::vector<BasicString>& names)
{
    std::vector<DataSection*> sections;
    sections.reserve(names.size());
    for (const BasicString& name : names)
    {
        if (DataSection* const section = GetDeviceDataSection(name))
        {
            sections.push_back(section);
        }
    }
    return sections;
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal
