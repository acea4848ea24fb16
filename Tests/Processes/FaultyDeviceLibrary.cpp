#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/NotSupportedException.hpp"
#include "Oxa/System/Commons/Threading/WakeEvent.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"
#include "Support/FakeDeviceServices.hpp"

#include <poll.h>

#include <memory>
#include <optional>
#include <vector>

// A component for tests of the calls between processes: one of its items is slow.

namespace Oxa::Tests::Processes
{

using namespace Oxa::Device::Interface::Services;

namespace
{

class FaultyStatusService final : public IDeviceStatusService
{
public:
    /// The value of every item is its key and '!'.
    [[nodiscard]] ItemValue ReadItem(const ItemKey& key) override
    {
        const BasicString name = key.ToString();
        if (name == "Test.Late")
        {
            pollfd stopped = {stop.GetDescriptor(), POLLIN, 0};
            poll(&stopped, 1, delayMilliseconds);
        }
        return ItemValue(name + '!');
    }

    void ReadItems(WriteItemKeysDelegate /*writeKeys*/, ReadItemValuesDelegate /*readValues*/) override
    {
        throw System::Commons::NotSupportedException::Create("Only single items are read");
    }

    /// Ends all delays, present and later ones.
    void Stop() noexcept
    {
        stop.Set();
    }

private:
    /// Longer than a read may take.
    static constexpr int delayMilliseconds = 900;
    System::Commons::Threading::WakeEvent stop;
};

class FaultyDeviceComponent final : public System::Acf::IComponent
{
public:
    void Setup(const System::Acf::ComponentInfo& /*componentInfo*/) override {}

    void Start() override
    {
        using Service = System::Rsc::RscRegistration::Service;
        registration.emplace("boot", "build",
                             std::vector<Service>{{DeviceStatusServiceProxyFactory::GetInstance(), statusService},
                                                  {DeviceControlServiceProxyFactory::GetInstance(),
                                                   std::make_shared<Support::FakeDeviceControlService>()}});
    }

    void Stop() noexcept override
    {
        statusService->Stop();
        registration.reset();
    }

private:
    const std::shared_ptr<FaultyStatusService> statusService = std::make_shared<FaultyStatusService>();
    std::optional<System::Rsc::RscRegistration> registration;
};

class FaultyDeviceLibrary final : public System::Acf::ComponentLibraryBase
{
public:
    FaultyDeviceLibrary()
    {
        GetModuleFactory().AddFactoryFunction("Faulty", [] { return std::make_unique<FaultyDeviceComponent>(); });
    }
};

} // namespace

} // namespace Oxa::Tests::Processes

extern "C" OXA_EXPORT Oxa::System::Acf::ComponentLibraryBase&
CreateComponentLibrary(Oxa::System::Commons::AppDomain& /*appDomain*/)
{
    static Oxa::Tests::Processes::FaultyDeviceLibrary library;
    return library;
}
