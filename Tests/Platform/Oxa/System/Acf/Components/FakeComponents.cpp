#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <exception>
#include <memory>
#include <string_view>
#include <utility>

namespace
{

using namespace Oxa;
using System::Acf::ComponentInfo;
using System::Commons::AppDomain;

/// Its code lies in this library: nobody may touch it once the library is closed.
class LibraryException final : public std::exception
{
public:
    [[nodiscard]] const char* what() const noexcept override
    {
        return "thrown by the library";
    }
};

/// Writes what happens to it into the application domain's variable "calls" and throws at the stage it was made for.
class FakeComponent final : public System::Acf::IComponent,
                            private System::Commons::Diagnostics::Logging::Loggable<FakeComponent>
{
public:
    FakeComponent(AppDomain& appDomain, BasicString failingStage)
        : appDomain(appDomain), failingStage(std::move(failingStage))
    {
        ThrowIfFailing("Create");
    }

    ~FakeComponent() override
    {
        Record("Destroy");
    }

    void Setup(const ComponentInfo& componentInfo) override
    {
        name = componentInfo.GetComponentName();
        Record("Setup(" + componentInfo.GetSettingsPath() + ")");
        ThrowIfFailing("Setup");
    }

    void Start() override
    {
        Log(System::Commons::Diagnostics::Logging::LogLevel::Debug, "{0} starts", name);
        Record("Start");
        ThrowIfFailing("Start");
    }

    void Stop() noexcept override
    {
        Record("Stop");
    }

private:
    void Record(std::string_view call)
    {
        BasicString calls = appDomain.TryGetVariable("calls").value_or("");
        appDomain.SetVariable("calls", calls.append(name).append(".").append(call).append(" "));
    }

    void ThrowIfFailing(std::string_view stage) const
    {
        if (failingStage == stage)
        {
            throw LibraryException();
        }
    }

    AppDomain& appDomain;
    const BasicString failingStage;
    BasicString name = "?";
};

class FakeComponentLibrary final : public System::Acf::ComponentLibraryBase
{
public:
    explicit FakeComponentLibrary(AppDomain& appDomain)
    {
        for (const char* stage : {"Create", "Setup", "Start", "None"})
        {
            GetModuleFactory().AddFactoryFunction(BasicString("Fails.") + stage, [&appDomain, stage]
                                                  { return std::make_unique<FakeComponent>(appDomain, stage); });
        }
        GetModuleFactory().AddFactoryFunction("Fails.Int",
                                              []() -> std::unique_ptr<System::Acf::IComponent> { throw 42; });
    }
};

} // namespace

extern "C" OXA_EXPORT System::Acf::ComponentLibraryBase& CreateComponentLibrary(AppDomain& appDomain)
{
    static FakeComponentLibrary library(appDomain);
    return library;
}
