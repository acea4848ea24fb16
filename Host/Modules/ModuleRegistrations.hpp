#pragma once

#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>
#include <vector>

namespace Oxa::Host::Modules
{

class ModuleGate;
class ModuleRegistry;

/// The host as one module sees it: passes on what the module registers, lets it take back its own only, and takes back
/// in the end what the module did not. Owned together with the module's library, which must outlive it.
/// Threads: one at a time; the gate is safe from any.
class ModuleRegistrations final : public Services::Commons::Wbm::Modules::IWbmModuleHandler,
                                  private System::Commons::Diagnostics::Logging::Loggable<ModuleRegistrations>
{
public:
    using PageInfo = Services::Commons::Wbm::Modules::Registration::PageInfo;
    using DataProviderInfo = Services::Commons::Wbm::Modules::Registration::DataProviderInfo;
    using PageHandler = std::shared_ptr<Services::Commons::Wbm::Modules::WbmPageHandlerBase>;
    using RequestHandler = std::shared_ptr<Services::Commons::Wbm::Modules::WbmRequestHandlerBase>;

    /// `registry` is borrowed. `gate` is the module's, never null.
    ModuleRegistrations(ModuleRegistry& registry, BasicString moduleName, std::shared_ptr<ModuleGate> gate);
    ModuleRegistrations(const ModuleRegistrations&) = delete;
    ModuleRegistrations& operator=(const ModuleRegistrations&) = delete;
    ~ModuleRegistrations() override;

    [[nodiscard]] bool RegisterPage(const PageInfo& pageInfo, PageHandler handler) override;
    void UnregisterPage(const BasicString& pageName) override;
    [[nodiscard]] bool RegisterDataProvider(const DataProviderInfo& dataProviderInfo, RequestHandler handler) override;
    void UnregisterDataProvider(const BasicString& dataProviderName) override;
    void RegisterSupportedLanguage(const BasicString& language) override;
    void UnregisterSupportedLanguage(const BasicString& language) override;

    /// Takes back what the module has left registered, and logs that.
    void TakeBackAll();

    /// To be called after a set-up: warns when the module has not registered exactly the data providers that the
    /// configuration names.
    void ReportDifferences() const;

    /// Through which the module is called.
    [[nodiscard]] ModuleGate& GetGate() noexcept
    {
        return *gate;
    }

private:
    using Names = std::vector<BasicString>;
    using Unregister = void (ModuleRegistrations::*)(const BasicString& name);

    void TakeBack(const Names& names, Unregister unregister);

    ModuleRegistry& registry;
    const BasicString moduleName;
    const std::shared_ptr<ModuleGate> gate;
    Names pages;
    Names dataProviders;
    Names languages;
};

} // namespace Oxa::Host::Modules
