#pragma once

#include "Device/MultiReadClient.hpp"
#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceItemServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceItemService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <boost/core/demangle.hpp>

#include <chrono>
#include <concepts>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <typeinfo>
#include <vector>

namespace Oxa::Tests::Processes
{

/// How a call ended, and after what time.
struct Outcome
{
    /// What came back as text; several values with blanks between; else the name of the fault or of the exception's
    /// type.
    BasicString text;
    std::chrono::milliseconds duration;

    bool operator==(const BasicString& expected) const
    {
        return text == expected;
    }

    friend std::ostream& operator<<(std::ostream& stream, const Outcome& outcome)
    {
        return stream << '\'' << outcome.text << "' after " << outcome.duration.count() << " ms";
    }
};

/// The host's side: the device's services as they are to be had at an endpoint, as long as this object lives.
/// Threads: safe from any thread, but for `TryFind`.
class DeviceClient final
{
public:
    explicit DeviceClient(const System::Rsc::RscEndpointConfiguration& endpoint)
    {
        System::Rsc::ServiceManager::SetEndpoints({endpoint});
    }

    DeviceClient(const DeviceClient&) = delete;
    DeviceClient& operator=(const DeviceClient&) = delete;

    ~DeviceClient()
    {
        System::Rsc::ServiceManager::ResetEndpoints();
    }

    /// Whether the services are there now.
    bool TryFind()
    {
        using namespace Oxa::Device::Interface::Services;
        return TryFindService(status, DeviceStatusServiceProxyFactory::GetInstance()) &&
               TryFindService(control, DeviceControlServiceProxyFactory::GetInstance());
    }

    // Require: `TryFind` was successful once.

    [[nodiscard]] Outcome Read(const BasicString& key) const
    {
        return Measure([this, &key]
                       { return status->ReadItem(Oxa::Device::Interface::Services::ItemKey(key)).ToString(); });
    }

    [[nodiscard]] Outcome ReadMany(const std::vector<BasicString>& keys) const
    {
        return Measure(
            [this, &keys]
            {
                BasicString texts;
                Tests::Device::MultiReadClient reader(keys);
                for (const auto& value : reader.Read(*status))
                {
                    texts += (texts.empty() ? "" : " ") + value.ToString();
                }
                return texts;
            });
    }

    /// Throws when the device does not offer it.
    [[nodiscard]] Oxa::Device::Interface::Services::IDeviceItemService& GetItemService()
    {
        using namespace Oxa::Device::Interface::Services;
        return TryFindService(items, DeviceItemServiceProxyFactory::GetInstance())
                   ? *items
                   : throw std::runtime_error("the device has no item service");
    }

    [[nodiscard]] Outcome Restart() const
    {
        return Measure([this] { return Oxa::System::Commons::Text::Format("{0}", control->Restart()); });
    }

    template <std::invocable Function>
    [[nodiscard]] static Outcome Measure(const Function& call)
    {
        using namespace std::chrono;
        const auto begin = steady_clock::now();
        const BasicString text = GetResult(call);
        return {text, duration_cast<milliseconds>(steady_clock::now() - begin)};
    }

private:
    template <class Function>
    static BasicString GetResult(const Function& call)
    {
        try
        {
            return call();
        }
        catch (const System::Rsc::RscServiceException& exception)
        {
            constexpr const char* names[] = {"NotAvailable", "TimedOut", "ConnectionLost", "InvalidResponse",
                                             "Refused"};
            return names[static_cast<std::size_t>(exception.GetFault())];
        }
        catch (const std::exception& exception)
        {
            const BasicString name = boost::core::demangle(typeid(exception).name());
            return name.substr(name.rfind(':') + 1);
        }
    }

    template <class T>
    static bool TryFindService(std::unique_ptr<T>& service, System::Rsc::IRscServiceProxyFactory& factory)
    {
        service.reset(dynamic_cast<T*>(System::Rsc::ServiceManager::GetService("Oxa.Device", factory)));
        return service != nullptr;
    }

    std::unique_ptr<Oxa::Device::Interface::Services::IDeviceStatusService> status;
    std::unique_ptr<Oxa::Device::Interface::Services::IDeviceControlService> control;
    std::unique_ptr<Oxa::Device::Interface::Services::IDeviceItemService> items;
};

} // namespace Oxa::Tests::Processes
