#pragma once

#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"

#include <memory>
#include <optional>

namespace GuestBook
{

class GuestBookService;

/// The component "GuestBook": provides one service, and needs no settings. Owned by the process that created it.
class GuestBookComponent final : public Oxa::System::Acf::IComponent
{
public:
    GuestBookComponent();
    ~GuestBookComponent() override;

    void Setup(const Oxa::System::Acf::ComponentInfo& componentInfo) override;
    void Start() override;
    void Stop() noexcept override;

private:
    std::shared_ptr<GuestBookService> service;
    std::optional<Oxa::System::Rsc::RscRegistration> registration;
};

} // namespace GuestBook
