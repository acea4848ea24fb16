#include "EndToEnd/Fakes/FakeHandlers.hpp"
#include "EndToEnd/Fakes/Trace.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleBase.hpp"
#include "Oxa/System/Commons/Extensibility/ModuleLibraryBase.hpp"

#include <unistd.h>

#include <stdexcept>

namespace Oxa::Tests::EndToEnd
{

using namespace Services::Commons::Wbm::Modules;
using System::Commons::AppDomain;

namespace
{

/// Throws what the fault says at the place that it says, for instance "setup" or "setup-private".
void FailAt(const BasicString& place, const AppDomain& appDomain)
{
    const BasicString fault = GetFault(appDomain);
    if (fault == place)
    {
        throw std::runtime_error("the module does not want to");
    }
    if (fault == place + "-private")
    {
        throw PrivateFault();
    }
}

/// Until the process ends.
void HangAt(const BasicString& fault)
{
    while (GetFault(System::Commons::Singleton<AppDomain>::GetInstance()) == fault)
    {
        pause();
    }
}

/// Registers two data providers, a page and a language.
class FakeModule final : public WbmModuleBase
{
public:
    FakeModule()
    {
        FailAt("constructor", System::Commons::Singleton<AppDomain>::GetInstance());
    }

    ~FakeModule() override
    {
        Trace("module destroyed");
    }

    void SetupModule(const ModuleInfo& /*moduleInfo*/, IWbmModuleHandler& handler) override
    {
        const bool isRegistered =
            handler.RegisterDataProvider(Registration::DataProviderInfo("FakeDp"), fake) &&
            handler.RegisterDataProvider(Registration::DataProviderInfo("FakeControlDp"), control);
        HangAt("setup-hangs");
        FailAt("setup", System::Commons::Singleton<AppDomain>::GetInstance());
        FailAt("setup-and-reset", System::Commons::Singleton<AppDomain>::GetInstance());
        const bool isTaken = !handler.RegisterDataProvider(Registration::DataProviderInfo("FakeDp"), fake) &&
                             !handler.RegisterDataProvider(Registration::DataProviderInfo("session"), fake);
        if (!isRegistered || !isTaken || !handler.RegisterPage({"FakeDp", "fake", ""}, fake))
        {
            throw std::logic_error("the host registers what it must not, or not what it must");
        }
        handler.RegisterSupportedLanguage("eo");
        Trace("module set up");
    }

    void StartModule() override
    {
        Trace("module started");
        FailAt("start", System::Commons::Singleton<AppDomain>::GetInstance());
    }

    void StopModule() override
    {
        Trace("module stopped");
        HangAt("stop-hangs");
    }

    void ResetModule(IWbmModuleHandler& handler) override
    {
        FailAt("reset", System::Commons::Singleton<AppDomain>::GetInstance());
        FailAt("setup-and-reset", System::Commons::Singleton<AppDomain>::GetInstance());
        handler.UnregisterDataProvider("FakeDp");
        handler.UnregisterDataProvider("FakeControlDp");
        handler.UnregisterPage("fake");
        handler.UnregisterSupportedLanguage("eo");
        Trace("module reset");
    }

private:
    std::shared_ptr<FakeHandler> fake = std::make_shared<FakeHandler>();
    std::shared_ptr<FakeControlHandler> control = std::make_shared<FakeControlHandler>();
};

class FakeModuleLibrary final : public System::Commons::Extensibility::ModuleLibraryBase<IWbmModule>
{
public:
    explicit FakeModuleLibrary(const AppDomain& appDomain)
    {
        FailAt("entry", appDomain);
        GetModuleFactory().AddFactoryFunction("Fake", [] { return std::make_unique<FakeModule>(); });
    }

    ~FakeModuleLibrary() override
    {
        Trace("module library unloaded");
    }
};

} // namespace

} // namespace Oxa::Tests::EndToEnd

extern "C" __attribute__((visibility("default")))
Oxa::System::Commons::Extensibility::ModuleLibraryBase<Oxa::Services::Commons::Wbm::Modules::IWbmModule>&
CreateWbmModuleLibrary(Oxa::System::Commons::AppDomain& appDomain)
{
    static Oxa::Tests::EndToEnd::FakeModuleLibrary library(appDomain);
    return library;
}
