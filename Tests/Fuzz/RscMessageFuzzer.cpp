// What comes in from the bus, on either side of a connection: the first byte says which side, the rest is what the
// other end sends after the handshake. Everything from the socket to the arguments of a service, or to the values of an
// answer, is the product's own code.

#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Rsc/Internal/BusErrors.hpp"
#include "Oxa/System/Rsc/Internal/BusNames.hpp"
#include "Oxa/System/Rsc/Internal/MessageStream.hpp"
#include "Oxa/System/Rsc/RscArrayReader.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using namespace Oxa::Device::Interface::Services;
using namespace Oxa::System::Rsc;
using Internal::BusHandle;
using Internal::MessageHandle;
using Internal::MessageStream;
using Internal::SlotHandle;

constexpr std::size_t maximumBytes = 262144;
constexpr const char* path = "/Oxa/Device";

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

/// Calls the service as the server does.
void Invoke(IRscService& service, const RscOperation& operation, sd_bus_message* call)
{
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_return(call, &made) < 0)
    {
        return;
    }
    const MessageHandle answer(made);
    try
    {
        RscMessageReader arguments(*call);
        RscMessageWriter results(*answer);
        operation.invoke(service, arguments, results);
    }
    catch (...)
    {
        (void)Internal::DescribeException(std::current_exception());
    }
}

int OnCall(sd_bus_message* call, void* context, sd_bus_error* /*error*/)
{
    auto& [service, factory] = *static_cast<std::pair<IRscService*, IRscServiceProxyFactory*>*>(context);
    for (const RscOperation& operation : factory->GetOperations())
    {
        if (std::string_view(sd_bus_message_get_member(call)) == operation.name)
        {
            Invoke(*service, operation, call);
        }
    }
    return 1;
}

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

void ReadAnswer(sd_bus_message* answer)
{
    try
    {
        if (sd_bus_message_is_method_error(answer, nullptr) > 0)
        {
            Internal::ThrowBusError(*sd_bus_message_get_error(answer), "The call");
        }
        RscMessageReader reader(*answer);
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
    catch (const Oxa::System::Commons::Exception&)
    {
        // That is what it is for.
    }
}

int OnAnswer(sd_bus_message* answer, void* stream, sd_bus_error* /*error*/)
{
    static_cast<MessageStream*>(stream)->NoteMessage();
    ReadAnswer(answer);
    return 1;
}

void Require(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}

/// One end of a connection; the other one sends what the fuzzer says.
class Connection final
{
public:
    explicit Connection(bool isServer)
    {
        std::array<int, 2> ends = {};
        Require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) == 0);
        other = ends[1];
        sd_bus* made = nullptr;
        Require(sd_bus_new(&made) >= 0);
        bus.reset(made);
        Require(sd_bus_set_fd(made, ends[0], ends[0]) >= 0 && sd_bus_negotiate_fds(made, 0) >= 0);
        if (isServer)
        {
            Require(sd_bus_set_server(made, 1, sd_id128_t{{1}}) >= 0);
        }
        Require(sd_bus_start(made) >= 0);
        Send(isServer ? clientHandshake : serverHandshake);
        while (sd_bus_is_ready(made) <= 0)
        {
            Require(sd_bus_process(made, nullptr) >= 0);
        }
    }

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    ~Connection()
    {
        close(other);
    }

    void Send(std::string_view bytes) const
    {
        (void)!write(other, bytes.data(), bytes.size());
    }

    BusHandle bus;

private:
    int other = -1;
};

void ProcessAll(MessageStream& stream)
{
    try
    {
        while (stream.Process() == MessageStream::Progress::Worked)
        {
        }
    }
    catch (const Oxa::System::Commons::Exception&)
    {
        // The connection ends.
    }
}

void FuzzServer(std::string_view bytes)
{
    Connection connection(true);
    sd_bus* const bus = connection.bus.get();
    MessageStream stream(std::move(connection.bus), maximumBytes);
    FakeStatusService status;
    FakeControlService control;
    std::pair<IRscService*, IRscServiceProxyFactory*> services[] = {
        {&status, &DeviceStatusServiceProxyFactory::GetInstance()},
        {&control, &DeviceControlServiceProxyFactory::GetInstance()}};
    std::vector<std::vector<sd_bus_vtable>> tables;
    std::vector<SlotHandle> slots;
    for (auto& service : services)
    {
        auto& table = tables.emplace_back();
        table.push_back(SD_BUS_VTABLE_START(0));
        for (const RscOperation& operation : service.second->GetOperations())
        {
            table.push_back(SD_BUS_METHOD(operation.name, operation.argumentsSignature, operation.resultsSignature,
                                          &OnCall, SD_BUS_VTABLE_UNPRIVILEGED));
        }
        table.push_back(SD_BUS_VTABLE_END);
        sd_bus_slot* slot = nullptr;
        const auto name = Internal::GetBusInterfaceName(service.second->GetServiceInterfaceName());
        Require(sd_bus_add_object_vtable(bus, &slot, path, name.c_str(), table.data(), &service) >= 0);
        slots.emplace_back(slot);
    }
    connection.Send(bytes);
    ProcessAll(stream);
}

void FuzzClient(std::string_view bytes)
{
    Connection connection(false);
    sd_bus* const bus = connection.bus.get();
    MessageStream stream(std::move(connection.bus), maximumBytes);
    sd_bus_message* made = nullptr;
    const auto name = Internal::GetBusInterfaceName("Oxa::Device::Interface::Services::IDeviceStatusService");
    Require(sd_bus_message_new_method_call(bus, &made, nullptr, path, name.c_str(), "ReadItems") >= 0);
    const MessageHandle call(made);
    Require(sd_bus_message_append(made, "as", 1, "Status.System.BootId") >= 0);
    sd_bus_slot* slot = nullptr;
    Require(sd_bus_call_async(bus, &slot, made, &OnAnswer, &stream, UINT64_MAX) >= 0);
    const SlotHandle pending(slot);
    connection.Send(bytes);
    ProcessAll(stream);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 1)
    {
        const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
        (data[0] % 2 == 0 ? FuzzServer : FuzzClient)(bytes);
    }
    return 0;
}
