// What the other end of a connection sends, on either side of it. The first byte of an input says which: bit 0 for the
// client's side, else the server's; with bit 1 the handshake is a part of the input too, else it goes before.
// Everything from the socket to the arguments of a service, or to the values of an answer, is the product's own code.

#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Rsc/Internal/BusNames.hpp"
#include "Oxa/System/Rsc/Internal/BusOpening.hpp"
#include "Oxa/System/Rsc/Internal/ClientConnection.hpp"
#include "Oxa/System/Rsc/Internal/ClientExchange.hpp"
#include "Oxa/System/Rsc/Internal/ClientHandshake.hpp"
#include "Oxa/System/Rsc/Internal/ServerConnection.hpp"
#include "Oxa/System/Rsc/RscArrayReader.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using namespace Oxa::Device::Interface::Services;
using namespace Oxa::System::Rsc;
using Internal::ServerConnection;
using Oxa::BasicString;
using Oxa::System::Commons::FileDescriptor;

constexpr std::chrono::milliseconds timeout{1000};

constexpr std::string_view clientHandshake("\0AUTH EXTERNAL\r\nDATA\r\nBEGIN\r\n", 29);
constexpr std::string_view serverHandshake = "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\n";

/// Gives every key back as its value.
class FakeStatusService final : public IDeviceStatusService
{
public:
    ItemValue ReadItem(const ItemKey& key) override
    {
        return ItemValue(key.GetView());
    }

    void ReadItems(WriteItemKeysDelegate writeKeys, ReadItemValuesDelegate readValues) override
    {
        struct Keys final : IRscWriteEnumerator<ItemKey>
        {
            void BeginWrite(std::size_t) override {}

            void WriteNext(const ItemKey& key) override
            {
                values.push_back(ItemValue(key.GetView()));
            }

            void EndWrite() override {}

            std::vector<ItemValue> values;
        } keys;

        struct Values final : IRscReadEnumerator<ItemValue>
        {
            explicit Values(std::vector<ItemValue>& items) : items(items) {}

            std::size_t BeginRead() override
            {
                return items.size();
            }

            bool ReadNext(ItemValue& value) override
            {
                if (next == items.size())
                {
                    return false;
                }
                value = items[next++];
                return true;
            }

            void EndRead() override {}

            std::vector<ItemValue>& items;
            std::size_t next = 0;
        };

        writeKeys(keys);
        Values values(keys.values);
        readValues(values);
    }
};

class FakeControlService final : public IDeviceControlService
{
public:
    AccessErrorCode Restart() override
    {
        return AccessErrorCode::Busy;
    }

    AccessErrorCode FactoryReset(Oxa::uint16 resetKind) override
    {
        return static_cast<AccessErrorCode>(resetKind);
    }
};

/// Reads every element, as a module would.
void ReadElements(const ItemValue& value)
{
    RscArrayReader reader(value);
    for (Oxa::uint32 index = 0; index < reader.GetElementCount(); ++index)
    {
        if (reader.GetDimensions() > 1)
        {
            ItemValue element;
            reader.ReadNextArray(element);
            if (element.GetType() == RscType::Array)
            {
                ReadElements(element);
            }
            continue;
        }
        std::array<std::byte, RscArrayReader::maximumPrimitiveBytes> element;
        reader.ReadNext(element);
    }
}

void ReadValues(RscMessageReader& reader)
{
    reader.EnterArray(RscMessageWriter::valueSignature);
    while (!reader.TryLeaveArray())
    {
        ItemValue value;
        reader.ReadValue(value);
        if (value.GetType() == RscType::Array)
        {
            ReadElements(value);
        }
        else
        {
            (void)value.ToString();
        }
    }
}

void Require(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}

/// One end of a connection; the other one sends what the fuzzer says, and hangs up.
struct Ends
{
    explicit Ends(std::string_view bytes)
    {
        std::array<int, 2> ends = {};
        Require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) == 0);
        own = FileDescriptor(ends[0]);
        other = FileDescriptor(ends[1]);
        Send(bytes);
        shutdown(other.Get(), SHUT_WR);
    }

    void Send(std::string_view bytes) const
    {
        (void)!write(other.Get(), bytes.data(), bytes.size());
    }

    FileDescriptor own;
    FileDescriptor other;
};

void FuzzServer(std::string_view bytes)
{
    Ends ends(bytes);
    Internal::BusHandle bus = Internal::MakeBus();
    Require(sd_bus_set_fd(bus.get(), ends.own.Get(), ends.own.Get()) >= 0);
    (void)ends.own.Release();
    Require(sd_bus_set_server(bus.get(), 1, sd_id128_t{{1}}) >= 0);
    if (sd_bus_start(bus.get()) < 0)
    {
        return;
    }
    Internal::ServerUsers users({{std::to_string(getuid()), true}});
    Internal::ServerCatalog catalog = Internal::OfferedMethods::MakeCatalog();
    std::deque<Internal::ServerCall> calls;
    const auto connection = std::make_shared<ServerConnection>(
        ServerConnection::Shared{users, catalog, calls}, std::move(bus), ServerConnection::Peer{getuid(), getpid()});
    while (connection->Process() != ServerConnection::Stage::Ended)
    {
        while (!calls.empty())
        {
            Internal::ServerCall call = std::move(calls.front());
            calls.pop_front();
            call.Execute();
        }
    }
    calls.clear();
    connection->Close();
}

/// Two calls: what is left over from the first one must do no harm to the second.
void CallTwice(Internal::ClientConnection& connection)
{
    const BasicString name = "Oxa::Device::Interface::Services::IDeviceStatusService";
    const BasicString busName = Internal::GetBusInterfaceName(name);
    const BasicString place = "here";
    const Internal::ClientRequest request{.destination = nullptr,
                                          .objectPath = "/Oxa/Device",
                                          .interfaceName = busName.c_str(),
                                          .operationName = "ReadItems",
                                          .resultsSignature = "a(yv)",
                                          .serviceName = name,
                                          .place = place,
                                          .timeout = timeout};
    for (int call = 0; call < 2; ++call)
    {
        try
        {
            Internal::Exchange(
                connection, request, Internal::CallClock::now() + timeout,
                [](RscMessageWriter& writer)
                {
                    writer.BeginArray("s");
                    writer.WriteText("Status.System.BootId");
                    writer.EndArray();
                },
                &ReadValues);
        }
        catch (const Oxa::System::Commons::Exception&)
        {
            // That is what it is for.
        }
    }
}

void FuzzClient(std::string_view bytes)
{
    Ends ends(bytes);
    try
    {
        Internal::ClientConnection connection(
            Internal::AuthenticateAsClient(std::move(ends.own), Internal::CallClock::now() + timeout));
        CallTwice(connection);
    }
    catch (const RscServiceException&)
    {
        // There is no connection.
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    using namespace Oxa::System::Commons::Diagnostics::Logging;
    LogConfiguration configuration;
    configuration.target = LogConfiguration::Target::None;
    LogManager::Configure(configuration);
    ServiceManager::RegisterService(DeviceStatusServiceProxyFactory::GetInstance(),
                                    std::make_shared<FakeStatusService>());
    ServiceManager::RegisterService(DeviceControlServiceProxyFactory::GetInstance(),
                                    std::make_shared<FakeControlService>());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 1)
    {
        const bool isClient = (data[0] & 1U) != 0;
        const bool hasHandshake = (data[0] & 2U) != 0;
        std::string bytes(hasHandshake ? "" : isClient ? serverHandshake : clientHandshake);
        bytes.append(reinterpret_cast<const char*>(data) + 1, size - 1);
        (isClient ? FuzzClient : FuzzServer)(bytes);
    }
    return 0;
}
