#pragma once

#include "Host/Modules/ModuleLifecycle.hpp"
#include "Host/Modules/ModuleManifest.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/IWbmModule.hpp"
#include "Oxa/System/Acf/SharedLibrary.hpp"
#include "Oxa/System/Commons/Diagnostics/CrashReport.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace Oxa::System::Commons
{
class AppDomain;
class XmlException;
} // namespace Oxa::System::Commons

namespace Oxa::Host::Modules
{

/// One module: its library, the object that the library creates, and what that has registered. What the module throws
/// is logged with the library and the cause, once for each cause in a row.
/// Threads: one at a time. No other thread calls the module during a call of these, unless stated.
class HostedModule final : private System::Commons::Diagnostics::Logging::Loggable<HostedModule>
{
public:
    using Outcome = ModuleLifecycle::Outcome;

    /// `registry` is borrowed. `whenGateEmpty`: see `ModuleGate`.
    HostedModule(
        ModuleManifest manifest, ModuleRegistry& registry, std::function<void()> whenGateEmpty = [] {});
    HostedModule(const HostedModule&) = delete;
    HostedModule& operator=(const HostedModule&) = delete;

    /// Loads the library and creates the module unless that is done, stops and resets the module if it is up, sets it
    /// up and starts it. Refuses one with files that other users could change, each time, right before they are used.
    /// After a failure nothing of it is registered. Throws XmlException when its settings cannot be
    /// read. `appDomain` goes to the library, which may keep it. Requires: the gate is closed.
    [[nodiscard]] Outcome SetUp(System::Commons::AppDomain& appDomain);

    /// Reports settings that cannot be read.
    void Report(const System::Commons::XmlException& exception);

    /// Stops and resets the module if it is up.
    void TakeDown() noexcept;

    /// The same, then destroys the module and unloads its library. Requires: the gate is closed.
    void Unload() noexcept;

    /// Of the providers that the module has used so far, from before it was set up.
    [[nodiscard]] const Epochs& GetEpochs() const noexcept
    {
        return epochs;
    }

    [[nodiscard]] ModuleGate& GetGate() noexcept
    {
        return registrar.GetGate();
    }

    /// From any thread.
    [[nodiscard]] const ModuleManifest& GetManifest() const noexcept
    {
        return manifest;
    }

    /// Of the registered pages. From any thread.
    [[nodiscard]] std::vector<BasicString> GetPageNames() const
    {
        return registrar.GetPageNames();
    }

    /// Why the last set-up failed; empty when it did not.
    [[nodiscard]] const BasicString& GetFailure() const noexcept
    {
        return lastReport;
    }

private:
    [[nodiscard]] bool AreFilesTrusted();
    [[nodiscard]] bool TryLoad(System::Commons::AppDomain& appDomain);
    void Reset() noexcept;

    template <class Step>
    [[nodiscard]] bool TryRun(const char* fault, const Step& step);
    template <class Step>
    void RunAndReport(const char* fault, const Step& step) noexcept;
    void Report(const char* fault, const BasicString& cause);

    const ModuleManifest manifest;
    // In this order, so that the registrations go first, since they lead into the module, and the library goes last.
    std::optional<System::Acf::SharedLibrary> library;
    std::unique_ptr<Services::Commons::Wbm::Modules::IWbmModule> module;
    ModuleRegistry::Registrar registrar;
    Epochs epochs;
    bool isUp = false;
    BasicString lastReport;
    System::Commons::Diagnostics::CallRecord callRecord;
};

} // namespace Oxa::Host::Modules
