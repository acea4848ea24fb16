#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleBase.hpp"

#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"

namespace Oxa::Services::Commons::Wbm::Modules
{

IWbmModule::~IWbmModule() = default;

IWbmModuleHandler::~IWbmModuleHandler() = default;

WbmModuleBase::WbmModuleBase() = default;

WbmModuleBase::~WbmModuleBase() = default;

void WbmModuleBase::StartModule() {}

void WbmModuleBase::StopModule() {}

} // namespace Oxa::Services::Commons::Wbm::Modules
