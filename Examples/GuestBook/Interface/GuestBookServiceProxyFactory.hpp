#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace GuestBook
{

/// Makes proxies for IGuestBookService. Safe from any thread.
class OXA_EXPORT GuestBookServiceProxyFactory final : public Oxa::System::Rsc::IRscServiceProxyFactory
{
public:
    [[nodiscard]] static GuestBookServiceProxyFactory& GetInstance();

    ~GuestBookServiceProxyFactory() override;

    [[nodiscard]] const char* GetServiceInterfaceName() const override;
    [[nodiscard]] const char* GetServiceProviderName() const override;
    [[nodiscard]] Oxa::System::Rsc::IRscService*
    CreateProxy(std::shared_ptr<Oxa::System::Rsc::RscServiceSlot> slot) override;
    [[nodiscard]] std::span<const Oxa::System::Rsc::RscOperation> GetOperations() const noexcept override;
    [[nodiscard]] std::shared_ptr<Oxa::System::Rsc::IRscService>
    CreateRemote(std::shared_ptr<Oxa::System::Rsc::RscRemoteService> service) override;

private:
    GuestBookServiceProxyFactory();
};

} // namespace GuestBook
