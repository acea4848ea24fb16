#pragma once

#include "GuestBookHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleBase.hpp"

#include <memory>

namespace GuestBook
{

/// The module "GuestBook": one data provider that calls the service of the guest book.
class GuestBookModule final : public Oxa::Services::Commons::Wbm::Modules::WbmModuleBase
{
public:
    GuestBookModule();
    ~GuestBookModule() override;

    /// Throws InvalidOperationException when another module has taken the data provider's name.
    void SetupModule(const Oxa::Services::Commons::Wbm::Modules::ModuleInfo& moduleInfo,
                     Oxa::Services::Commons::Wbm::Modules::IWbmModuleHandler& moduleHandler) override;
    void ResetModule(Oxa::Services::Commons::Wbm::Modules::IWbmModuleHandler& moduleHandler) override;

private:
    std::shared_ptr<GuestBookHandler> handler;
    bool isRegistered = false;
};

} // namespace GuestBook
