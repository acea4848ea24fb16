#pragma once

#include "Oxa/Device/Interface/Services/Internal/ItemReadMessages.hpp"
#include "Oxa/System/Rsc/RscOperation.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"

#include <memory>
#include <span>
#include <utility>

namespace Oxa::Device::Interface::Services::Internal
{

/// How IDeviceInfoService and IDeviceStatusService, which differ in name only, cross to another process: the operations
/// at the side of the service, the implementation at the side of the caller. Safe from several threads.
template <class TService>
class RemoteItemService final : public TService
{
public:
    [[nodiscard]] static std::span<const System::Rsc::RscOperation> GetOperations() noexcept
    {
        using System::Rsc::RscOperationKind;
        static constexpr System::Rsc::RscOperation operations[] = {
            {"ReadItem", RscOperationKind::Read, "s", "(yv)", &RemoteItemService::InvokeReadItem},
            {"ReadItems", RscOperationKind::Read, "as", "a(yv)", &RemoteItemService::InvokeReadItems},
        };
        return operations;
    }

    explicit RemoteItemService(std::shared_ptr<System::Rsc::RscRemoteService> service) : service(std::move(service)) {}

    [[nodiscard]] ItemValue ReadItem(const ItemKey& key) override
    {
        ItemValue value;
        service->Call(
            GetOperations()[0], [&key](System::Rsc::RscMessageWriter& writer) { writer.WriteText(key.GetView()); },
            [&value](System::Rsc::RscMessageReader& reader)
            {
                reader.ReadValue(value);
                reader.KeepArraysForThisThread();
            });
        return value;
    }

    void ReadItems(WriteItemKeysDelegate writeKeys, ReadItemValuesDelegate readValues) override
    {
        std::size_t count = 0;
        service->Call(
            GetOperations()[1],
            [&writeKeys, &count](System::Rsc::RscMessageWriter& writer)
            {
                KeySender keys(writer);
                writeKeys(keys);
                count = keys.GetCount();
            },
            [&readValues, &count](System::Rsc::RscMessageReader& reader)
            {
                ValueReceiver values(reader, count);
                readValues(values);
            });
    }

private:
    static void InvokeReadItem(System::Rsc::IRscService& service, System::Rsc::RscMessageReader& arguments,
                               System::Rsc::RscMessageWriter& results)
    {
        results.WriteValue(dynamic_cast<TService&>(service).ReadItem(ItemKey(arguments.ReadText().data())));
    }

    static void InvokeReadItems(System::Rsc::IRscService& service, System::Rsc::RscMessageReader& arguments,
                                System::Rsc::RscMessageWriter& results)
    {
        KeyReceiver keys(arguments);
        ValueSender values(results);
        dynamic_cast<TService&>(service).ReadItems(WriteItemKeysDelegate::Bind(keys, &KeyReceiver::Write),
                                                   ReadItemValuesDelegate::Bind(values, &ValueSender::Read));
    }

    const std::shared_ptr<System::Rsc::RscRemoteService> service;
};

} // namespace Oxa::Device::Interface::Services::Internal
