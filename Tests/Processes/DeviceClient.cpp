#include "Processes/DeviceClient.hpp"

#include "Device/MultiReadClient.hpp"
#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/NotSupportedException.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

namespace Oxa::Tests::Processes
{

using namespace Oxa::Device::Interface::Services;
using System::Rsc::ServiceManager;

namespace
{

constexpr const char* faultNames[] = {"NotAvailable", "TimedOut", "ConnectionLost", "BadAnswer", "Refused"};

BasicString NameException()
{
    try
    {
        throw;
    }
    catch (const System::Rsc::RscServiceException& exception)
    {
        return faultNames[static_cast<std::size_t>(exception.GetFault())];
    }
    catch (const System::Commons::ArgumentException&)
    {
        return "ArgumentException";
    }
    catch (const System::Commons::InvalidOperationException&)
    {
        return "InvalidOperationException";
    }
    catch (const System::Commons::NotSupportedException&)
    {
        return "NotSupportedException";
    }
    catch (const System::Commons::Exception&)
    {
        return "Exception";
    }
}

template <class T, class Factory>
bool TryFindService(std::unique_ptr<T>& service)
{
    auto* const found = ServiceManager::GetService("Oxa.Device", Factory::GetInstance());
    service.reset(dynamic_cast<T*>(found));
    return service != nullptr;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome)
{
    return stream << '\'' << outcome.text << "' after " << outcome.duration.count() << " ms";
}

DeviceClient::DeviceClient(const System::Rsc::RscEndpointConfiguration& endpoint)
{
    ServiceManager::SetEndpoints({endpoint});
}

DeviceClient::~DeviceClient()
{
    ServiceManager::ResetEndpoints();
}

bool DeviceClient::TryFind()
{
    return TryFindService<IDeviceStatusService, DeviceStatusServiceProxyFactory>(status) &&
           TryFindService<IDeviceControlService, DeviceControlServiceProxyFactory>(control);
}

Outcome DeviceClient::Read(const BasicString& key) const
{
    return Measure([this, &key] { return status->ReadItem(ItemKey(key)).ToString(); });
}

Outcome DeviceClient::ReadMany(const std::vector<BasicString>& keys) const
{
    return Measure(
        [this, &keys]
        {
            Tests::Device::MultiReadClient reader(keys);
            BasicString texts;
            for (const ItemValue& value : reader.Read(*status))
            {
                texts += (texts.empty() ? "" : " ") + value.ToString();
            }
            return texts;
        });
}

Outcome DeviceClient::Restart() const
{
    return Measure([this] { return Oxa::System::Commons::Text::Format("{0}", control->Restart()); });
}

Outcome DeviceClient::Measure(const std::function<BasicString()>& call)
{
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    BasicString text;
    try
    {
        text = call();
    }
    catch (...)
    {
        text = NameException();
    }
    return {text, std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin)};
}

} // namespace Oxa::Tests::Processes
