#pragma once

#include "Oxa/System/Commons/Export.hpp"

namespace Oxa::Services::Commons::Wbm::Modules
{

class IWbmModuleHandler;
class ModuleInfo;

/// A module of the web-based management. The host that created it owns it and calls its operations one at a time:
/// set up, start, …, stop, reset; a set-up may follow a reset. The module's library stays loaded meanwhile.
class OXA_EXPORT IWbmModule
{
public:
    virtual ~IWbmModule();

    /// Reads the settings and registers what the module provides. If it throws, the module is not set up, and
    /// `ResetModule` unregisters what was registered so far.
    virtual void SetupModule(const ModuleInfo& moduleInfo, IWbmModuleHandler& moduleHandler) = 0;

    /// Requests may come from now on.
    virtual void StartModule() = 0;

    virtual void StopModule() = 0;

    /// Unregisters what `SetupModule` registered.
    virtual void ResetModule(IWbmModuleHandler& moduleHandler) = 0;
};

} // namespace Oxa::Services::Commons::Wbm::Modules
