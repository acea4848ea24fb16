// How IDeviceInfoService and IDeviceStatusService, which differ in name only, are called here and in another process.

#include "Oxa/Device/Interface/Services/DeviceInfoServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

namespace Oxa::Device::Interface::Services
{

using namespace System::Rsc;

IDeviceInfoService::~IDeviceInfoService() = default;

IDeviceStatusService::~IDeviceStatusService() = default;

namespace
{

/// At the caller: writes the keys of a read into the request.
class KeySender final : public IRscWriteEnumerator<ItemKey>
{
public:
    explicit KeySender(RscMessageWriter& writer) noexcept : writer(writer) {}

    void BeginWrite(std::size_t newCount) override
    {
        count = newCount;
        writer.BeginArray("s");
    }

    void WriteNext(const ItemKey& key) override
    {
        writer.WriteText(key.GetView());
    }

    void EndWrite() override
    {
        writer.EndArray();
    }

    std::size_t count = 0;

private:
    RscMessageWriter& writer;
};

/// At the caller: takes the values of a read out of the response.
class ValueReceiver final : public IRscReadEnumerator<ItemValue>
{
public:
    /// `count`: of the keys.
    ValueReceiver(RscMessageReader& reader, std::size_t count) noexcept : reader(reader), count(count) {}

    std::size_t BeginRead() override
    {
        reader.EnterArray(RscMessageWriter::valueSignature);
        isInside = true;
        return count;
    }

    bool ReadNext(ItemValue& value) override
    {
        isInside = isInside && !reader.TryLeaveArray();
        if (isInside)
        {
            reader.ReadValue(value);
        }
        return isInside;
    }

    void EndRead() override {}

private:
    RscMessageReader& reader;
    const std::size_t count;
    bool isInside = false;
};

/// At the service: the keys that came in with a read, and the response that its values go into.
class ItemReadExchange final
{
public:
    ItemReadExchange(RscMessageReader& arguments, RscMessageWriter& results) : results(results)
    {
        arguments.EnterArray("s");
        while (!arguments.TryLeaveArray())
        {
            keys.push_back(arguments.ReadText());
        }
    }

    void WriteKeys(IRscWriteEnumerator<ItemKey>& enumerator)
    {
        enumerator.BeginWrite(keys.size());
        for (const std::string_view key : keys)
        {
            // Texts of a message end with a NUL.
            enumerator.WriteNext(ItemKey(key.data()));
        }
        enumerator.EndWrite();
    }

    void ReadValues(IRscReadEnumerator<ItemValue>& enumerator)
    {
        ItemValue value;
        enumerator.BeginRead();
        results.BeginArray(RscMessageWriter::valueSignature);
        while (enumerator.ReadNext(value))
        {
            results.WriteValue(value);
        }
        results.EndArray();
        enumerator.EndRead();
    }

private:
    /// In the message.
    std::vector<std::string_view> keys;
    RscMessageWriter& results;
};

template <class TService>
void InvokeReadItem(IRscService& service, RscMessageReader& arguments, RscMessageWriter& results)
{
    results.WriteValue(dynamic_cast<TService&>(service).ReadItem(ItemKey(arguments.ReadText().data())));
}

template <class TService>
void InvokeReadItems(IRscService& service, RscMessageReader& arguments, RscMessageWriter& results)
{
    ItemReadExchange exchange(arguments, results);
    dynamic_cast<TService&>(service).ReadItems(WriteItemKeysDelegate::Bind(exchange, &ItemReadExchange::WriteKeys),
                                               ReadItemValuesDelegate::Bind(exchange, &ItemReadExchange::ReadValues));
}

template <class TService>
constexpr RscOperation itemOperations[] = {
    {"ReadItem", RscOperationKind::Read, "s", RscMessageWriter::valueSignature, &InvokeReadItem<TService>},
    {"ReadItems", RscOperationKind::Read, "as", "a(yv)", &InvokeReadItems<TService>},
};

template <class TService>
class ItemServiceProxy final : public RscForwarder<TService, RscServiceSlot>
{
public:
    using RscForwarder<TService, RscServiceSlot>::RscForwarder;

    [[nodiscard]] ItemValue ReadItem(const ItemKey& key) override
    {
        return this->target->template Acquire<TService>()->ReadItem(key);
    }

    void ReadItems(WriteItemKeysDelegate writeKeys, ReadItemValuesDelegate readValues) override
    {
        this->target->template Acquire<TService>()->ReadItems(std::move(writeKeys), std::move(readValues));
    }
};

template <class TService>
class RemoteItemService final : public RscForwarder<TService, RscRemoteService>
{
public:
    using RscForwarder<TService, RscRemoteService>::RscForwarder;

    [[nodiscard]] ItemValue ReadItem(const ItemKey& key) override
    {
        ItemValue value;
        this->target->Call(
            itemOperations<TService>[0], [&key](RscMessageWriter& writer) { writer.WriteText(key.GetView()); },
            [&value](RscMessageReader& reader) { reader.ReadDetachedValue(value); });
        return value;
    }

    void ReadItems(WriteItemKeysDelegate writeKeys, ReadItemValuesDelegate readValues) override
    {
        std::size_t count = 0;
        this->target->Call(
            itemOperations<TService>[1],
            [&writeKeys, &count](RscMessageWriter& writer)
            {
                KeySender keys(writer);
                writeKeys(keys);
                count = keys.count;
            },
            [&readValues, &count](RscMessageReader& reader)
            {
                ValueReceiver values(reader, count);
                readValues(values);
            });
    }
};

} // namespace

DeviceInfoServiceProxyFactory::DeviceInfoServiceProxyFactory()
    : RscServiceProxyFactory("Oxa::Device::Interface::Services::IDeviceInfoService", "Oxa.Device",
                             Classes<ItemServiceProxy<IDeviceInfoService>, RemoteItemService<IDeviceInfoService>>(),
                             itemOperations<IDeviceInfoService>)
{
}

DeviceInfoServiceProxyFactory::~DeviceInfoServiceProxyFactory() = default;

DeviceInfoServiceProxyFactory& DeviceInfoServiceProxyFactory::GetInstance()
{
    static DeviceInfoServiceProxyFactory instance;
    return instance;
}

DeviceStatusServiceProxyFactory::DeviceStatusServiceProxyFactory()
    : RscServiceProxyFactory("Oxa::Device::Interface::Services::IDeviceStatusService", "Oxa.Device",
                             Classes<ItemServiceProxy<IDeviceStatusService>, RemoteItemService<IDeviceStatusService>>(),
                             itemOperations<IDeviceStatusService>)
{
}

DeviceStatusServiceProxyFactory::~DeviceStatusServiceProxyFactory() = default;

DeviceStatusServiceProxyFactory& DeviceStatusServiceProxyFactory::GetInstance()
{
    static DeviceStatusServiceProxyFactory instance;
    return instance;
}

} // namespace Oxa::Device::Interface::Services
