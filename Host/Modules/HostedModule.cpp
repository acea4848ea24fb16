#include "Host/Modules/HostedModule.hpp"

#include "Oxa/Services/Commons/Wbm/Modules/ModuleInfo.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleLibrary.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/TrustedPath.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <exception>
#include <string_view>
#include <utility>

namespace Oxa::Host::Modules
{

using Services::Commons::Wbm::Modules::ModuleInfo;
using Services::Commons::Wbm::Modules::WbmModuleLibraryEntry;
using Services::Commons::Wbm::Modules::wbmModuleLibraryEntryName;
using System::Commons::InvalidOperationException;
using System::Commons::XmlException;
using System::Commons::Diagnostics::CallRecord;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Rsc::RscUsageRecorder;
using System::Rsc::ServiceManager;

HostedModule::HostedModule(ModuleManifest manifest, ModuleRegistry& registry, std::function<void()> whenGateEmpty)
    : manifest(std::move(manifest)),
      registrar(registry, this->manifest.name, std::make_shared<ModuleGate>(std::move(whenGateEmpty))),
      callRecord("the module '" + this->manifest.name + '\'')
{
}

HostedModule::Outcome HostedModule::SetUp(System::Commons::AppDomain& appDomain)
{
    TakeDown();
    static constexpr std::string_view step = "set-up";
    const CallRecord::Scope call(callRecord, step);
    if (!AreFilesTrusted() || !TryLoad(appDomain))
    {
        return Outcome::Failed;
    }
    // Proxies of an earlier set-up may stay in use, also when this one does not ask for them again.
    for (auto& [providerName, epoch] : epochs)
    {
        epoch = ServiceManager::GetEpoch(providerName);
    }
    const RscUsageRecorder usage;
    std::exception_ptr settingsFault;
    try
    {
        const ModuleInfo info(manifest.name, manifest.settingsPath);
        isUp = TryRun("cannot be set up", [this, &info] { module->SetupModule(info, registrar); }) &&
               TryRun("cannot be started", [this] { module->StartModule(); });
    }
    catch (const XmlException&)
    {
        settingsFault = std::current_exception();
    }
    epochs.insert(usage.GetEpochs().begin(), usage.GetEpochs().end());
    if (!isUp)
    {
        Reset();
        if (settingsFault)
        {
            std::rethrow_exception(settingsFault);
        }
        return Outcome::Failed;
    }
    lastReport.clear();
    registrar.DropWithdrawn();
    registrar.ReportDifferences();
    bool isAvailable = false;
    RunAndReport("cannot report whether it is available",
                 [this, &isAvailable] { isAvailable = registrar.IsAvailable(); });
    return isAvailable ? Outcome::Complete : Outcome::Incomplete;
}

/// A file that does not exist is for those who read it to report; others must not be able to create it.
bool HostedModule::AreFilesTrusted()
{
    for (const BasicString& path : ListFiles(manifest))
    {
        if (const auto weakness = System::Commons::FindOptionalPathWeakness(path))
        {
            Report("is refused", *weakness);
            return false;
        }
    }
    return true;
}

/// What the library throws may be of a type of its own: it is destroyed before the library is closed.
bool HostedModule::TryLoad(System::Commons::AppDomain& appDomain)
{
    if (module)
    {
        return true;
    }
    const auto create = [this, &appDomain]
    {
        auto* const entry = library->GetFunction<WbmModuleLibraryEntry>(wbmModuleLibraryEntryName);
        module = entry(appDomain).GetModuleFactory().CreateModule(manifest.name);
        if (!module)
        {
            throw InvalidOperationException::Create("the library has no module of the name '{0}'", manifest.name);
        }
    };
    const bool isCreated = TryRun("cannot be loaded", [this] { library.emplace(manifest.libraryPath); }) &&
                           TryRun("cannot be created", create);
    if (!isCreated)
    {
        library.reset();
    }
    return isCreated;
}

void HostedModule::TakeDown() noexcept
{
    if (std::exchange(isUp, false))
    {
        static constexpr std::string_view step = "stop";
        const CallRecord::Scope call(callRecord, step);
        RunAndReport("cannot be stopped", [this] { module->StopModule(); });
        Reset();
    }
}

void HostedModule::Unload() noexcept
{
    TakeDown();
    registrar.DropWithdrawn();
    module.reset();
    library.reset();
}

void HostedModule::Reset() noexcept
{
    RunAndReport("cannot be reset", [this] { module->ResetModule(registrar); });
    registrar.UnregisterAll();
}

/// False when the step threw. Only an XmlException passes: what to do about settings is the caller's decision.
template <class Step>
bool HostedModule::TryRun(const char* fault, const Step& step)
{
    try
    {
        step();
        return true;
    }
    catch (const XmlException&)
    {
        throw;
    }
    catch (...)
    {
        Report(fault, System::Commons::DescribeCurrentException());
    }
    return false;
}

template <class Step>
void HostedModule::RunAndReport(const char* fault, const Step& step) noexcept
{
    try
    {
        (void)TryRun(fault, step);
    }
    catch (const XmlException& exception)
    {
        Report(exception);
    }
}

void HostedModule::Report(const XmlException& exception)
{
    Report("cannot use its settings", exception.GetMessageWithPosition());
}

void HostedModule::Report(const char* fault, const BasicString& cause)
{
    const BasicString report = BasicString(fault) + ": " + cause;
    if (report == lastReport)
    {
        return;
    }
    lastReport = report;
    Log(LogLevel::Error, "the module '{0}' of '{1}' {2}", manifest.name, manifest.libraryPath, report);
}

} // namespace Oxa::Host::Modules
