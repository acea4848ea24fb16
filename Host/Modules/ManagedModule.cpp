#include "Host/Modules/ManagedModule.hpp"

#include "Host/Modules/ModuleRegistry.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/IWbmModule.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/ModuleInfo.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"
#include "Oxa/System/Rsc/RscUsageRecorder.hpp"

#include <utility>

namespace Oxa::Host::Modules
{

using Services::Commons::Wbm::Modules::ModuleInfo;
using System::Commons::XmlException;
using System::Rsc::RscServiceException;
using System::Rsc::RscUsageRecorder;

ManagedModule::ManagedModule(std::unique_ptr<LoadedModule> loaded, ModuleRegistry& registry, const ModuleBorder& border)
    : loaded(std::move(loaded)), registry(registry), border(border)
{
}

void ManagedModule::SetUp()
{
    // Until it is known better, and in case that something is thrown.
    hasFailed = true;
    hasServiceFault = false;
    const RscUsageRecorder usage;
    try
    {
        isUp = TrySetUp();
    }
    catch (const XmlException&)
    {
        NoteUsage(usage);
        Reset();
        throw;
    }
    NoteUsage(usage);
    if (!isUp)
    {
        Reset();
        return;
    }
    registry.DropWithdrawn(GetGate());
    hasFailed = false;
}

void ManagedModule::NoteUsage(const RscUsageRecorder& usage)
{
    providerNames.insert(usage.GetProviderNames().begin(), usage.GetProviderNames().end());
    isServiceMissing = usage.IsAnyMissing();
}

bool ManagedModule::TrySetUp()
{
    const Configuration::ModuleConfiguration& configuration = loaded->GetConfiguration();
    return border.TryCall(configuration, "cannot be set up",
                          [this, &configuration]
                          {
                              NoteFault(
                                  [this, &configuration]
                                  {
                                      loaded->GetModule().SetupModule(
                                          ModuleInfo(configuration.name, configuration.settingsPath),
                                          loaded->GetRegistrations());
                                  });
                          }) &&
           border.TryCall(configuration, "cannot be started",
                          [this] { NoteFault([this] { loaded->GetModule().StartModule(); }); });
}

template <class Call>
void ManagedModule::NoteFault(const Call& call)
{
    try
    {
        call();
    }
    catch (const RscServiceException&)
    {
        hasServiceFault = true;
        throw;
    }
}

void ManagedModule::SetUpAgain()
{
    TakeDown();
    border.CallAndReport(loaded->GetConfiguration(), "cannot be set up again", [this] { SetUp(); });
}

void ManagedModule::TakeDown() noexcept
{
    if (!isUp)
    {
        return;
    }
    isUp = false;
    border.CallAndReport(loaded->GetConfiguration(), "cannot be stopped", [this] { loaded->GetModule().StopModule(); });
    Reset();
}

void ManagedModule::Reset()
{
    border.CallAndReport(loaded->GetConfiguration(), "cannot be reset",
                         [this] { loaded->GetModule().ResetModule(loaded->GetRegistrations()); });
    loaded->GetRegistrations().TakeBackAll();
}

bool ManagedModule::HasFailed() const noexcept
{
    return hasFailed;
}

bool ManagedModule::MayRecover() const noexcept
{
    return hasServiceFault || (isUp && !isServiceMissing);
}

bool ManagedModule::IsAvailable() const
{
    bool isAvailable = false;
    if (isUp)
    {
        border.CallAndReport(loaded->GetConfiguration(), "cannot say whether it is available",
                             [this, &isAvailable]
                             { isAvailable = registry.IsAvailable(loaded->GetRegistrations().GetGate()); });
    }
    return isAvailable;
}

const BasicString& ManagedModule::GetName() const noexcept
{
    return loaded->GetConfiguration().name;
}

ModuleGate& ManagedModule::GetGate() noexcept
{
    return loaded->GetRegistrations().GetGate();
}

const std::set<BasicString>& ManagedModule::GetProviderNames() const noexcept
{
    return providerNames;
}

} // namespace Oxa::Host::Modules
