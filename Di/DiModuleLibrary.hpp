#pragma once

#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleLibrary.hpp"

namespace Oxa::Services::Modules::Wbm::Di
{

/// The content of this shared object: the module "Di". There is one object; it lives until the shared object is
/// unloaded.
class DiModuleLibrary final : public Services::Commons::Wbm::Modules::WbmModuleLibrary
{
public:
    /// Adopts the host's application domain where the process has none yet, and passes it to the log in any case.
    explicit DiModuleLibrary(System::Commons::AppDomain& appDomain);
    ~DiModuleLibrary() override;
};

} // namespace Oxa::Services::Modules::Wbm::Di
