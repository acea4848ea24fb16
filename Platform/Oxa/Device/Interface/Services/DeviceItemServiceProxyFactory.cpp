#include "Oxa/Device/Interface/Services/DeviceItemServiceProxyFactory.hpp"

#include "Oxa/Device/Interface/Services/IDeviceItemService.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <algorithm>
#include <limits>
#include <string_view>
#include <vector>

namespace Oxa::Device::Interface::Services
{

using namespace System::Rsc;

IDeviceItemService::~IDeviceItemService() = default;

namespace
{

// Of texts that end with a NUL.
constexpr std::string_view describedItemSignature = "(sqssqb)";
constexpr std::string_view itemStateSignature = "(s(yv)qqxs)";
constexpr std::string_view historyPointSignature = "(ddd)";

/// Without the parentheses.
BasicString GetMembers(std::string_view structureSignature)
{
    return BasicString(structureSignature.substr(1, structureSignature.size() - 2));
}

/// An enumerator that came from another process. Throws RscServiceException for a number beyond the last one.
template <class T>
T ReadEnumerator(RscMessageReader& reader, T last)
{
    const uint16 number = reader.ReadUint16();
    if (number > static_cast<uint16>(last))
    {
        throw RscServiceException(RscFault::InvalidResponse, "the message holds an unknown type, origin or quality");
    }
    return static_cast<T>(number);
}

void WriteMembers(RscMessageWriter& writer, const DescribedItem& item)
{
    writer.WriteText(item.key);
    writer.WriteUint16(static_cast<uint16>(item.type));
    writer.WriteText(item.unit);
    writer.WriteText(item.description);
    writer.WriteUint16(static_cast<uint16>(item.origin));
    writer.WriteBool(item.hasHistory);
}

void ReadMembers(RscMessageReader& reader, DescribedItem& item)
{
    item.key = reader.ReadText();
    item.type = ReadEnumerator(reader, RscType::NotSet);
    item.unit = reader.ReadText();
    item.description = reader.ReadText();
    item.origin = ReadEnumerator(reader, ItemOrigin::Absent);
    item.hasHistory = reader.ReadBool();
}

void WriteMembers(RscMessageWriter& writer, const ItemState& item)
{
    writer.WriteText(item.key);
    writer.WriteValue(item.value);
    writer.WriteUint16(static_cast<uint16>(item.quality));
    writer.WriteUint16(static_cast<uint16>(item.origin));
    writer.WriteInt64(item.age.count());
    writer.WriteText(item.cause);
}

void ReadMembers(RscMessageReader& reader, ItemState& item)
{
    item.key = reader.ReadText();
    reader.ReadDetachedValue(item.value);
    item.quality = ReadEnumerator(reader, ItemQuality::Missing);
    item.origin = ReadEnumerator(reader, ItemOrigin::Absent);
    item.age = std::chrono::milliseconds(reader.ReadInt64());
    item.cause = reader.ReadText();
}

void WriteMembers(RscMessageWriter& writer, const HistoryPoint& point)
{
    writer.WriteReal64(point.minimum);
    writer.WriteReal64(point.mean);
    writer.WriteReal64(point.maximum);
}

void ReadMembers(RscMessageReader& reader, HistoryPoint& point)
{
    point.minimum = static_cast<float>(reader.ReadReal64());
    point.mean = static_cast<float>(reader.ReadReal64());
    point.maximum = static_cast<float>(reader.ReadReal64());
}

template <class T>
void WriteStructures(RscMessageWriter& writer, std::string_view signature, const std::vector<T>& structures)
{
    const BasicString members = GetMembers(signature);
    writer.BeginArray(signature.data());
    for (const T& structure : structures)
    {
        writer.BeginStructure(members.c_str());
        WriteMembers(writer, structure);
        writer.EndStructure();
    }
    writer.EndArray();
}

template <class T>
void ReadStructures(RscMessageReader& reader, std::string_view signature, std::vector<T>& structures)
{
    const BasicString members = GetMembers(signature);
    reader.EnterArray(signature.data());
    while (!reader.TryLeaveArray())
    {
        reader.EnterStructure(members.c_str());
        ReadMembers(reader, structures.emplace_back());
        reader.LeaveStructure();
    }
}

template <auto operation>
void InvokePage(IRscService& service, std::string_view signature, RscMessageReader& arguments,
                RscMessageWriter& results)
{
    const BasicString prefix(arguments.ReadText());
    const BasicString after(arguments.ReadText());
    const auto page = (dynamic_cast<IDeviceItemService&>(service).*operation)(prefix, after, arguments.ReadUint32());
    WriteStructures(results, signature, page.items);
    results.WriteBool(page.isCut);
}

void InvokeListItems(IRscService& service, RscMessageReader& arguments, RscMessageWriter& results)
{
    InvokePage<&IDeviceItemService::ListItems>(service, describedItemSignature, arguments, results);
}

void InvokeReadItems(IRscService& service, RscMessageReader& arguments, RscMessageWriter& results)
{
    InvokePage<&IDeviceItemService::ReadItems>(service, itemStateSignature, arguments, results);
}

void InvokeReadHistory(IRscService& service, RscMessageReader& arguments, RscMessageWriter& results)
{
    const BasicString key(arguments.ReadText());
    const int64 from = arguments.ReadInt64();
    const int64 to = arguments.ReadInt64();
    const auto history = dynamic_cast<IDeviceItemService&>(service).ReadHistory(key, from, to, arguments.ReadUint32());
    results.WriteInt64(history.start);
    results.WriteInt64(history.step);
    WriteStructures(results, historyPointSignature, history.points);
}

constexpr RscOperation itemOperations[] = {
    {"ListItems", RscOperationKind::Read, "ssu", "a(sqssqb)b", &InvokeListItems},
    {"ReadItems", RscOperationKind::Read, "ssu", "a(s(yv)qqxs)b", &InvokeReadItems},
    {"ReadHistory", RscOperationKind::Read, "sxxu", "xxa(ddd)", &InvokeReadHistory},
};

class DeviceItemServiceProxy final : public RscForwarder<IDeviceItemService, RscServiceSlot>
{
public:
    using RscForwarder::RscForwarder;

    [[nodiscard]] ItemPage<DescribedItem> ListItems(const BasicString& prefix, const BasicString& after,
                                                    std::size_t count) override
    {
        return target->Acquire<IDeviceItemService>()->ListItems(prefix, after, count);
    }

    [[nodiscard]] ItemPage<ItemState> ReadItems(const BasicString& prefix, const BasicString& after,
                                                std::size_t count) override
    {
        return target->Acquire<IDeviceItemService>()->ReadItems(prefix, after, count);
    }

    [[nodiscard]] ItemHistory ReadHistory(const BasicString& key, int64 from, int64 to, std::size_t points) override
    {
        return target->Acquire<IDeviceItemService>()->ReadHistory(key, from, to, points);
    }
};

class RemoteDeviceItemService final : public RscForwarder<IDeviceItemService, RscRemoteService>
{
public:
    using RscForwarder::RscForwarder;

    [[nodiscard]] ItemPage<DescribedItem> ListItems(const BasicString& prefix, const BasicString& after,
                                                    std::size_t count) override
    {
        return CallPage<DescribedItem>(itemOperations[0], describedItemSignature, prefix, after, count);
    }

    [[nodiscard]] ItemPage<ItemState> ReadItems(const BasicString& prefix, const BasicString& after,
                                                std::size_t count) override
    {
        return CallPage<ItemState>(itemOperations[1], itemStateSignature, prefix, after, count);
    }

    [[nodiscard]] ItemHistory ReadHistory(const BasicString& key, int64 from, int64 to, std::size_t points) override
    {
        ItemHistory history;
        target->Call(
            itemOperations[2],
            [&key, from, to, points](RscMessageWriter& writer)
            {
                writer.WriteText(key);
                writer.WriteInt64(from);
                writer.WriteInt64(to);
                writer.WriteUint32(ToCount(points));
            },
            [&history](RscMessageReader& reader)
            {
                history.start = reader.ReadInt64();
                history.step = reader.ReadInt64();
                ReadStructures(reader, historyPointSignature, history.points);
            });
        return history;
    }

private:
    /// Beyond every bound stays beyond it.
    [[nodiscard]] static uint32 ToCount(std::size_t count) noexcept
    {
        return static_cast<uint32>(std::min<std::size_t>(count, std::numeric_limits<uint32>::max()));
    }

    template <class T>
    [[nodiscard]] ItemPage<T> CallPage(const RscOperation& operation, std::string_view signature,
                                       const BasicString& prefix, const BasicString& after, std::size_t count)
    {
        ItemPage<T> page;
        target->Call(
            operation,
            [&prefix, &after, count](RscMessageWriter& writer)
            {
                writer.WriteText(prefix);
                writer.WriteText(after);
                writer.WriteUint32(ToCount(count));
            },
            [&page, signature](RscMessageReader& reader)
            {
                ReadStructures(reader, signature, page.items);
                page.isCut = reader.ReadBool();
            });
        return page;
    }
};

} // namespace

DeviceItemServiceProxyFactory::DeviceItemServiceProxyFactory()
    : RscServiceProxyFactory("Oxa::Device::Interface::Services::IDeviceItemService", "Oxa.Device",
                             Classes<DeviceItemServiceProxy, RemoteDeviceItemService>(), itemOperations)
{
}

DeviceItemServiceProxyFactory::~DeviceItemServiceProxyFactory() = default;

DeviceItemServiceProxyFactory& DeviceItemServiceProxyFactory::GetInstance()
{
    static DeviceItemServiceProxyFactory instance;
    return instance;
}

} // namespace Oxa::Device::Interface::Services
