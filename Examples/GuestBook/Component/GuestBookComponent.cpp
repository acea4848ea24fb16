#include "GuestBookComponent.hpp"

#include "GuestBookService.hpp"
#include "GuestBookServiceProxyFactory.hpp"

#include <vector>

namespace GuestBook
{

using Oxa::System::Rsc::RscRegistration;

GuestBookComponent::GuestBookComponent() = default;

GuestBookComponent::~GuestBookComponent() = default;

void GuestBookComponent::Setup(const Oxa::System::Acf::ComponentInfo& /*componentInfo*/)
{
    service = std::make_shared<GuestBookService>();
}

void GuestBookComponent::Start()
{
    using Service = RscRegistration::Service;
    registration.emplace("", "", std::vector<Service>{{GuestBookServiceProxyFactory::GetInstance(), service}});
}

void GuestBookComponent::Stop() noexcept
{
    registration.reset();
}

} // namespace GuestBook
