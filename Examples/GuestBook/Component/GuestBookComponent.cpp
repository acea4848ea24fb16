#include "GuestBookComponent.hpp"

#include "GuestBookService.hpp"
#include "GuestBookServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

namespace GuestBook
{

using Oxa::System::Rsc::ServiceManager;

GuestBookComponent::GuestBookComponent() = default;

GuestBookComponent::~GuestBookComponent() = default;

void GuestBookComponent::Setup(const Oxa::System::Acf::ComponentInfo& /*componentInfo*/)
{
    service = std::make_shared<GuestBookService>();
}

void GuestBookComponent::Start()
{
    ServiceManager::RegisterService(GuestBookServiceProxyFactory::GetInstance(), service);
}

void GuestBookComponent::Stop() noexcept
{
    ServiceManager::UnregisterService(GuestBookServiceProxyFactory::GetInstance());
}

} // namespace GuestBook
