// What a caller sends to the server. With bit 1 of the first byte of an input the handshake is a part of the input too,
// else it goes before. Everything from the socket to the arguments of a service is the product's own code.

#include "Fuzz/Require.hpp"
#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceItemServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceItemService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Rsc/Internal/Server/ServerConnection.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
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

constexpr std::string_view clientHandshake("\0AUTH EXTERNAL\r\nDATA\r\nBEGIN\r\n", 29);

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

/// Gives what it is asked for back.
class FakeItemService final : public IDeviceItemService
{
public:
    ItemPage<DescribedItem> ListItems(const BasicString& prefix, const BasicString& after, std::size_t count) override
    {
        return {{{prefix, RscType::NotSet, after, after, ItemOrigin::Fixed, count > 1}}, count > 1};
    }

    ItemPage<ItemState> ReadItems(const BasicString& prefix, const BasicString& after, std::size_t count) override
    {
        ItemPage<ItemState> page = {{{}}, count > 1};
        page.items[0].key = prefix;
        page.items[0].cause = after;
        page.items[0].age = std::chrono::milliseconds(count);
        return page;
    }

    ItemHistory ReadHistory(const BasicString& /*key*/, Oxa::int64 from, Oxa::int64 to, std::size_t points) override
    {
        return {from, to, std::vector<HistoryPoint>(points % 1001)};
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
    std::deque<ServerConnection::Call> calls;
    const auto now = std::chrono::steady_clock::now();
    const auto connection = std::make_shared<ServerConnection>(ServerConnection::Shared{users, calls}, std::move(bus),
                                                               ServerConnection::Peer{getuid(), getpid()}, now);
    while (connection->Process(now))
    {
        while (!calls.empty())
        {
            ServerConnection::Call call = std::move(calls.front());
            calls.pop_front();
            ServerConnection::Execute(std::move(call));
        }
    }
    calls.clear();
    connection->Close();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    using namespace Oxa::System::Commons::Diagnostics::Logging;
    LogConfiguration configuration;
    configuration.target = LogConfiguration::Target::None;
    LogManager::Configure(configuration);
    static const RscRegistration registration(
        "boot", "build",
        {{DeviceStatusServiceProxyFactory::GetInstance(), std::make_shared<FakeStatusService>()},
         {DeviceItemServiceProxyFactory::GetInstance(), std::make_shared<FakeItemService>()},
         {DeviceControlServiceProxyFactory::GetInstance(), std::make_shared<FakeControlService>()}});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 1)
    {
        const bool hasHandshake = (data[0] & 2U) != 0;
        std::string bytes(hasHandshake ? "" : clientHandshake);
        bytes.append(reinterpret_cast<const char*>(data) + 1, size - 1);
        FuzzServer(bytes);
    }
    return 0;
}
