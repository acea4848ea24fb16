#include "Host/Modules/ServiceListener.hpp"

#include "Host/Modules/ModuleRenewer.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

namespace Oxa::Host::Modules
{

using System::Rsc::ServiceManager;

ServiceListener::ServiceListener(ModuleRenewer& renewer) : renewer(renewer)
{
    ServiceManager::AddListener(*this);
}

ServiceListener::~ServiceListener()
{
    ServiceManager::RemoveListener(*this);
}

void ServiceListener::Ignore() noexcept
{
    isIgnoring = true;
}

void ServiceListener::OnServicesLost(const BasicString& providerName) noexcept
{
    if (!isIgnoring)
    {
        renewer.NoteLoss(providerName);
    }
}

void ServiceListener::OnServicesAvailable(const BasicString& providerName) noexcept
{
    if (!isIgnoring)
    {
        renewer.NoteAppearance(providerName);
    }
}

} // namespace Oxa::Host::Modules
