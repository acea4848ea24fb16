#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Modules/DataProvider.hpp"
#include "Host/Modules/RegisteredList.hpp"
#include "Host/Modules/RegisteredPage.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/Registration/DataProviderInfo.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

namespace Oxa::Host::Modules
{

/// What a fault of the remote service call layer means for a client; null for other exceptions.
[[nodiscard]] const Http::Problem* FindServiceProblem(const std::exception& exception) noexcept;

/// What the modules have registered, each by its gate. What a module takes back while its gate is closed, because it is
/// being set up again, is kept until `DropWithdrawn`, but not called: it is away rather than unknown, and its name
/// stays the module's. Safe from any thread; no module is called under its lock.
class ModuleRegistry final : private System::Commons::Diagnostics::Logging::Loggable<ModuleRegistry>
{
public:
    using Gate = std::shared_ptr<ModuleGate>;
    using PageInfo = Services::Commons::Wbm::Modules::Registration::PageInfo;
    using DataProviderInfo = Services::Commons::Wbm::Modules::Registration::DataProviderInfo;
    using PageHandler = std::shared_ptr<Services::Commons::Wbm::Modules::WbmPageHandlerBase>;
    using RequestHandler = std::shared_ptr<Services::Commons::Wbm::Modules::WbmRequestHandlerBase>;

    ModuleRegistry(Threads::EventLoop& loop, const Configuration::HostConfiguration& configuration);
    ModuleRegistry(const ModuleRegistry&) = delete;
    ModuleRegistry& operator=(const ModuleRegistry&) = delete;
    ~ModuleRegistry();

    /// False, and the cause is logged, for a name that is taken, that the configuration gives to another module, that
    /// is no plain path segment or that is reserved for the host's own routes.
    [[nodiscard]] bool RegisterDataProvider(const BasicString& moduleName, const DataProviderInfo& dataProviderInfo,
                                            RequestHandler handler, const Gate& gate);
    /// Returns when no request is under way. Questions are kept away by the gate.
    void UnregisterDataProvider(const BasicString& dataProviderName);
    /// False for a name that is taken.
    [[nodiscard]] bool RegisterPage(const PageInfo& pageInfo, PageHandler handler, const Gate& gate);
    void UnregisterPage(const BasicString& pageName);
    void RegisterSupportedLanguage(const BasicString& language, const Gate& gate);
    void UnregisterSupportedLanguage(const BasicString& language, const Gate& gate);

    /// Forgets what the module has taken back and not registered again.
    void DropWithdrawn(const ModuleGate& gate);

    /// Null when there is none of that name.
    [[nodiscard]] std::shared_ptr<const DataProvider> FindDataProvider(std::string_view name) const;

    /// Whether the configuration names it: then it is missing rather than unknown.
    [[nodiscard]] bool IsExpected(std::string_view name) const;

    /// Names of data providers that are configured and not registered or registered and not available. Calls modules.
    [[nodiscard]] std::vector<BasicString> FindUnavailableDataProviders() const;

    /// Warns when the names that the module has registered and those that the configuration gives to it differ. Once
    /// for each difference. After a set-up.
    void ReportDifferences(const BasicString& moduleName, const ModuleGate& gate);

    /// Of all data providers.
    [[nodiscard]] std::vector<Http::RequestStrand::HangingTask> FindHangingRequests() const;

    /// Whether everything that the module has registered says that it is available. Calls the module, whether its gate
    /// is open or not: for the thread that sets it up.
    [[nodiscard]] bool IsAvailable(const ModuleGate& gate) const;

    /// In the order of registration.
    [[nodiscard]] std::vector<std::shared_ptr<const RegisteredPage>> GetPages() const;
    [[nodiscard]] std::vector<BasicString> GetSupportedLanguages() const;

private:
    struct Language
    {
        BasicString name;
        Gate gate;
        bool isWithdrawn = false;
    };

    struct ExpectedDataProvider
    {
        BasicString moduleName;
        bool isSafe = false;
    };

    [[nodiscard]] BasicString FindRefusalCause(const BasicString& moduleName, const BasicString& name) const;
    [[nodiscard]] std::shared_ptr<DataProvider> MakeDataProvider(const BasicString& moduleName, const BasicString& name,
                                                                 RequestHandler handler, const Gate& gate) const;

    Threads::EventLoop& loop;
    const std::size_t maximumWaiting;
    /// By their configured names.
    std::map<BasicString, ExpectedDataProvider, std::less<>> expected;

    mutable System::Commons::Mutex mutex;
    RegisteredList<DataProvider> dataProviders;
    RegisteredList<RegisteredPage> pages;
    std::vector<Language> languages;
    /// The last difference of each module.
    std::map<BasicString, BasicString> differences;
};

} // namespace Oxa::Host::Modules
