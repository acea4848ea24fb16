#pragma once

#include "Oxa/Services/Commons/Wbm/Modules/IWbmModule.hpp"

namespace Oxa::Services::Commons::Wbm::Modules
{

/// For modules that have nothing to do at start and stop.
class OXA_EXPORT WbmModuleBase : public IWbmModule
{
public:
    WbmModuleBase(const WbmModuleBase&) = delete;
    WbmModuleBase& operator=(const WbmModuleBase&) = delete;
    ~WbmModuleBase() override;

    /// Does nothing.
    void StartModule() override;

    /// Does nothing.
    void StopModule() override;

protected:
    WbmModuleBase();
};

} // namespace Oxa::Services::Commons::Wbm::Modules
