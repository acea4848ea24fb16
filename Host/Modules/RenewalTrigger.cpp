#include "Host/Modules/RenewalTrigger.hpp"

#include "Host/Modules/ModuleRenewer.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

namespace Oxa::Host::Modules
{

using System::Rsc::ServiceManager;

RenewalTrigger::RenewalTrigger(ModuleRenewer& renewer) : renewer(renewer)
{
    ServiceManager::AddListener(*this);
}

RenewalTrigger::~RenewalTrigger()
{
    ServiceManager::RemoveListener(*this);
}

void RenewalTrigger::Ignore() noexcept
{
    isIgnoring = true;
}

void RenewalTrigger::OnServicesLost(const BasicString& providerName) noexcept
{
    if (!isIgnoring)
    {
        renewer.NoteLoss(providerName);
    }
}

void RenewalTrigger::OnServicesAvailable(const BasicString& providerName) noexcept
{
    if (!isIgnoring)
    {
        renewer.NoteAppearance(providerName);
    }
}

} // namespace Oxa::Host::Modules
