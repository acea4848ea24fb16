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

void RenewalTrigger::OnEpochChanged(const BasicString& providerName) noexcept
{
    if (isIgnoring)
    {
        return;
    }
    if (ServiceManager::GetEpoch(providerName) == 0)
    {
        renewer.NoteLoss(providerName);
    }
    else
    {
        renewer.NoteAppearance(providerName);
    }
}

} // namespace Oxa::Host::Modules
