#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Http/RequestStrand.hpp"
#include "Host/Modules/ModuleLifecycle.hpp"
#include "Host/Modules/ModuleManifest.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace Oxa::Host::Modules
{

/// A name that a module has registered; for a language, that is all.
struct Registration
{
    Registration(BasicString name, std::shared_ptr<ModuleGate> gate) : name(std::move(name)), gate(std::move(gate)) {}

    const BasicString name;
    /// The module's. Never null.
    const std::shared_ptr<ModuleGate> gate;
    /// The module has unregistered it in order to register it again. Changes only while the gate is closed, or together
    /// with the end of the registration.
    std::atomic<bool> isWithdrawn = false;
};

struct DataProvider final : Registration
{
    using Registration::Registration;

    /// Called inside a visit of the gate only, and only when it is not withdrawn; never null then. So is a page's.
    std::shared_ptr<Services::Commons::Wbm::Modules::WbmRequestHandlerBase> handler;
    /// Of its requests.
    std::shared_ptr<Http::RequestStrand> strand;
    DataProviderManifest manifest;
};

struct Page final : Registration
{
    using Info = Services::Commons::Wbm::Modules::Registration::PageInfo;
    using Handler = std::shared_ptr<Services::Commons::Wbm::Modules::WbmPageHandlerBase>;

    Page(const Info& info, Handler handler, std::shared_ptr<ModuleGate> gate, BasicString moduleName)
        : Registration(info.GetPageName(), std::move(gate)),
          info(info),
          moduleName(std::move(moduleName)),
          handler(std::move(handler))
    {
    }

    const Info info;
    const BasicString moduleName;
    Handler handler;
};

/// What the modules have registered. What a module unregisters while its gate is closed, because it is being set up
/// again, is kept until `DropWithdrawn`, but not called: it is unavailable rather than unknown, and its name stays the
/// module's. Safe from any thread; no module is called under its lock.
class ModuleRegistry final : private System::Commons::Diagnostics::Logging::Loggable<ModuleRegistry>
{
public:
    /// In the order of registration.
    template <class Entry>
    using Entries = std::vector<std::shared_ptr<Entry>>;

    /// The registry as one module sees it: a module can unregister only what it has registered. Owned together with the
    /// module's library, which must outlive it. Threads: one at a time; the gate is safe from any.
    class Registrar final : public Services::Commons::Wbm::Modules::IWbmModuleHandler
    {
    public:
        using DataProviderInfo = Services::Commons::Wbm::Modules::Registration::DataProviderInfo;
        using RequestHandler = std::shared_ptr<Services::Commons::Wbm::Modules::WbmRequestHandlerBase>;

        /// `registry` is borrowed. `gate` is the module's, never null.
        Registrar(ModuleRegistry& registry, BasicString moduleName, std::shared_ptr<ModuleGate> gate);
        Registrar(const Registrar&) = delete;
        Registrar& operator=(const Registrar&) = delete;
        ~Registrar() override;

        /// False for a name that is taken.
        [[nodiscard]] bool RegisterPage(const Page::Info& pageInfo, Page::Handler handler) override;
        void UnregisterPage(const BasicString& pageName) override;
        /// False, and the cause is logged, for a name that is taken, that the manifest of another module names, that is
        /// not a plain path segment or that is reserved for the host's own routes.
        [[nodiscard]] bool RegisterDataProvider(const DataProviderInfo& dataProviderInfo,
                                                RequestHandler handler) override;
        /// Returns when no request is in progress. Other calls are kept away by the gate.
        void UnregisterDataProvider(const BasicString& dataProviderName) override;
        void RegisterSupportedLanguage(const BasicString& language) override;
        void UnregisterSupportedLanguage(const BasicString& language) override;

        /// Unregisters what the module has left registered, and logs that.
        void UnregisterAll();

        /// Forgets what the module has unregistered and not registered again, and releases the handlers. Requires: the
        /// gate is closed.
        void DropWithdrawn();

        /// Warns when the data providers that the module has registered and those that its manifest names differ. Once
        /// for each difference.
        void ReportDifferences();

        /// Whether everything that the module has registered says that it is available. Calls the module, whether its
        /// gate is open or not: for the thread that sets it up.
        [[nodiscard]] bool IsAvailable() const;

        /// Of the registered pages. Any thread.
        [[nodiscard]] std::vector<BasicString> GetPageNames() const;

        [[nodiscard]] ModuleGate& GetGate() noexcept
        {
            return *gate;
        }

    private:
        struct Own
        {
            Entries<DataProvider> dataProviders;
            Entries<Page> pages;
            Entries<Registration> languages;
        };

        [[nodiscard]] Own FindOwn() const;

        ModuleRegistry& registry;
        const BasicString moduleName;
        const std::shared_ptr<ModuleGate> gate;
        BasicString lastDifference;
    };

    ModuleRegistry(Threads::EventLoop& loop, const Configuration::HostConfiguration& configuration);
    ModuleRegistry(const ModuleRegistry&) = delete;
    ModuleRegistry& operator=(const ModuleRegistry&) = delete;

    /// The modules whose data providers are expected from now on.
    void Expect(const std::vector<ModuleManifest>& manifests);

    /// A strand for calls of modules. `name` is for the log.
    [[nodiscard]] std::shared_ptr<Http::RequestStrand> MakeStrand(BasicString name) const;

    /// Null: unknown.
    [[nodiscard]] std::shared_ptr<const DataProvider> FindDataProvider(std::string_view name) const;

    /// Whether a manifest names it: then it is missing rather than unknown.
    [[nodiscard]] bool IsExpected(std::string_view name) const;

    /// Names of data providers that are expected and not registered or registered and not available. Calls modules.
    [[nodiscard]] std::vector<BasicString> FindUnavailableDataProviders() const;

    /// Of all data providers.
    [[nodiscard]] std::vector<Http::RequestStrand::HangingTask> FindHangingRequests() const;

    /// Those of a module together, the modules in the order of their names: a menu keeps its order, although modules
    /// register at the same time.
    [[nodiscard]] Entries<Page> GetPages() const;
    [[nodiscard]] std::vector<BasicString> GetSupportedLanguages() const;

private:
    struct ExpectedDataProvider
    {
        BasicString moduleName;
        DataProviderManifest manifest;
    };

    [[nodiscard]] BasicString FindRefusalCause(const BasicString& name, const BasicString& moduleName) const
        OXA_REQUIRES(mutex);
    [[nodiscard]] std::vector<BasicString> FindExpectedOf(std::string_view moduleName) const;

    Threads::EventLoop& loop;
    const Configuration::WaitingLimits waitingLimits;

    mutable System::Commons::Mutex mutex;
    /// By their names.
    std::map<BasicString, ExpectedDataProvider, std::less<>> expected OXA_GUARDED_BY(mutex);
    Entries<DataProvider> dataProviders OXA_GUARDED_BY(mutex);
    Entries<Page> pages OXA_GUARDED_BY(mutex);
    Entries<Registration> languages OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Host::Modules
