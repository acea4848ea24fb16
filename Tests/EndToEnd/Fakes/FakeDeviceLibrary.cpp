#include "EndToEnd/Fakes/Trace.hpp"
#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceInfoServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/RtcServiceProxyFactory.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"
#include "Support/FakeDeviceServices.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace Oxa::Tests::EndToEnd
{

using namespace Oxa::Device::Interface::Services;
using Hardware::RealTimeClock::Services::Internal::RtcServiceProxyFactory;

namespace
{

/// The device between two outages: has a serial number and a boot id of its own.
struct DeviceRun
{
    DeviceRun(const BasicString& serialNumber, const BasicString& bootId)
    {
        info.values.emplace("General.SerialNumber", ItemValue(serialNumber));
        status.values.emplace("Status.System.BootId", ItemValue(bootId));
    }

    void Offer()
    {
        using Service = System::Rsc::RscRegistration::Service;
        registration.emplace(
            status.values.at("Status.System.BootId").ToString(), "",
            std::vector<Service>{
                {DeviceInfoServiceProxyFactory::GetInstance(), std::make_shared<Support::FakeDeviceInfoService>(info)},
                {DeviceStatusServiceProxyFactory::GetInstance(),
                 std::make_shared<Support::FakeDeviceStatusService>(status)},
                {RtcServiceProxyFactory::GetInstance(), std::make_shared<Support::FakeRtcService>()},
                {DeviceControlServiceProxyFactory::GetInstance(),
                 std::make_shared<Support::FakeDeviceControlService>()}});
    }

    Support::FakeItems info;
    Support::FakeItems status;
    std::optional<System::Rsc::RscRegistration> registration;
};

/// Offers its services as long as there is no file "away" beside the trace. With the fault "exception" the first read
/// of each run fails; with "same" all runs have the same boot id.
class FakeDeviceComponent final : public System::Acf::IComponent
{
public:
    ~FakeDeviceComponent() override
    {
        close(watch);
        close(stop);
    }

    void Setup(const System::Acf::ComponentInfo& /*componentInfo*/) override
    {
        const auto& appDomain = System::Commons::Singleton<System::Commons::AppDomain>::GetInstance();
        away = std::filesystem::path(*appDomain.TryGetVariable("FAKE_TRACE")).parent_path() / "away";
        fault = GetFault(appDomain);
        inotify_add_watch(watch, away.parent_path().c_str(), IN_CREATE | IN_DELETE);
    }

    void Start() override
    {
        FollowFile();
        thread = std::thread(
            [this]
            {
                while (WaitForChange())
                {
                    FollowFile();
                }
            });
    }

    void Stop() noexcept override
    {
        eventfd_write(stop, 1);
        thread.join();
        run.reset();
    }

private:
    /// False: stop.
    [[nodiscard]] bool WaitForChange() const
    {
        std::array<pollfd, 2> polled = {pollfd{watch, POLLIN, 0}, pollfd{stop, POLLIN, 0}};
        poll(polled.data(), polled.size(), -1);
        std::array<char, 4096> events = {};
        return polled[1].revents == 0 && read(watch, events.data(), events.size()) > 0;
    }

    void FollowFile()
    {
        const bool isAway = std::filesystem::exists(away);
        if (isAway && isOffered)
        {
            run->registration.reset();
        }
        else if (!isAway && !isOffered)
        {
            ++runs;
            run = std::make_unique<DeviceRun>("serial " + std::to_string(runs),
                                              "boot " + std::to_string(fault == "same" ? 1 : runs));
            if (fault == "exception")
            {
                run->info.nextFailure = std::make_exception_ptr(System::Commons::InvalidOperationException("fake"));
            }
            run->Offer();
        }
        isOffered = !isAway;
    }

    std::filesystem::path away;
    BasicString fault;
    bool isOffered = false;
    int runs = 0;
    std::unique_ptr<DeviceRun> run;
    const int watch = inotify_init1(IN_CLOEXEC);
    const int stop = eventfd(0, EFD_CLOEXEC);
    std::thread thread;
};

class FakeDeviceLibrary final : public System::Acf::ComponentLibraryBase
{
public:
    FakeDeviceLibrary()
    {
        GetModuleFactory().AddFactoryFunction("Device", [] { return std::make_unique<FakeDeviceComponent>(); });
    }
};

} // namespace

} // namespace Oxa::Tests::EndToEnd

extern "C" __attribute__((visibility("default"))) Oxa::System::Acf::ComponentLibraryBase&
CreateComponentLibrary(Oxa::System::Commons::AppDomain& /*appDomain*/)
{
    static Oxa::Tests::EndToEnd::FakeDeviceLibrary library;
    return library;
}
