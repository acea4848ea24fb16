#pragma once

#include "HelloHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleBase.hpp"

#include <memory>

namespace Hello
{

/// The module "Hello": one data provider, no page and no settings.
class HelloModule final : public Oxa::Services::Commons::Wbm::Modules::WbmModuleBase
{
public:
    HelloModule();
    ~HelloModule() override;

    /// Throws InvalidOperationException when another module has taken the data provider's name.
    void SetupModule(const Oxa::Services::Commons::Wbm::Modules::ModuleInfo& moduleInfo,
                     Oxa::Services::Commons::Wbm::Modules::IWbmModuleHandler& moduleHandler) override;
    void ResetModule(Oxa::Services::Commons::Wbm::Modules::IWbmModuleHandler& moduleHandler) override;

private:
    std::shared_ptr<HelloHandler> handler;
    bool isRegistered = false;
};

} // namespace Hello
