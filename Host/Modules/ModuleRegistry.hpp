#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Modules/DataProvider.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/Registration/PageInfo.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

namespace Oxa::Host::Modules
{

/// What the modules have registered. Safe from any thread; no module is called under its lock.
class ModuleRegistry final : public Services::Commons::Wbm::Modules::IWbmModuleHandler
{
public:
    using PageInfo = Services::Commons::Wbm::Modules::Registration::PageInfo;
    using DataProviderInfo = Services::Commons::Wbm::Modules::Registration::DataProviderInfo;
    using PageHandler = std::shared_ptr<Services::Commons::Wbm::Modules::WbmPageHandlerBase>;
    using RequestHandler = std::shared_ptr<Services::Commons::Wbm::Modules::WbmRequestHandlerBase>;
    using Page = std::pair<PageInfo, PageHandler>;

    ModuleRegistry(Threads::EventLoop& loop, const Configuration::HostConfiguration& configuration);
    ModuleRegistry(const ModuleRegistry&) = delete;
    ModuleRegistry& operator=(const ModuleRegistry&) = delete;
    ~ModuleRegistry() override;

    /// Also false for a name that cannot be reached: an empty one, one that is no plain path segment, a route of the
    /// host.
    [[nodiscard]] bool RegisterDataProvider(const DataProviderInfo& dataProviderInfo, RequestHandler handler) override;
    void UnregisterDataProvider(const BasicString& dataProviderName) override;
    [[nodiscard]] bool RegisterPage(const PageInfo& pageInfo, PageHandler handler) override;
    void UnregisterPage(const BasicString& pageName) override;
    void RegisterSupportedLanguage(const BasicString& language) override;
    void UnregisterSupportedLanguage(const BasicString& language) override;

    /// Null when there is none of that name.
    [[nodiscard]] std::shared_ptr<const DataProvider> FindDataProvider(std::string_view name) const;

    [[nodiscard]] std::size_t CountDataProviders() const;

    /// Whether the configuration names it: then it is missing rather than unknown.
    [[nodiscard]] bool IsExpected(std::string_view name) const;

    /// Names of data providers that are configured and not registered or registered and not available. Calls modules.
    [[nodiscard]] std::vector<BasicString> FindUnavailableDataProviders() const;

    /// In the order of registration.
    [[nodiscard]] std::vector<Page> GetPages() const;
    [[nodiscard]] std::vector<BasicString> GetSupportedLanguages() const;

private:
    Threads::EventLoop& loop;
    const std::size_t maximumWaiting;
    /// Configured names, and whether they are safe.
    std::map<BasicString, bool, std::less<>> expected;

    mutable std::mutex mutex;
    std::map<BasicString, std::shared_ptr<const DataProvider>, std::less<>> dataProviders;
    std::vector<Page> pages;
    std::vector<BasicString> languages;
};

} // namespace Oxa::Host::Modules
