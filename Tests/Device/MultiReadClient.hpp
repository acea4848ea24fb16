#pragma once

#include "Oxa/Device/Interface/Services/DeviceItems.hpp"

#include <cstddef>
#include <utility>
#include <vector>

namespace Oxa::Tests::Device
{

/// Asks for keys and keeps the values, as a data section does.
class MultiReadClient final
{
public:
    using ItemKey = Oxa::Device::Interface::Services::ItemKey;
    using ItemValue = Oxa::Device::Interface::Services::ItemValue;

    explicit MultiReadClient(std::vector<BasicString> keys) : announcedCount(keys.size()), keys(std::move(keys)) {}

    MultiReadClient(const MultiReadClient&) = delete;
    MultiReadClient& operator=(const MultiReadClient&) = delete;

    template <class Service>
    const std::vector<ItemValue>& Read(Service& service)
    {
        service.ReadItems(writeKeys, readValues);
        return values;
    }

    std::size_t announcedCount;

private:
    void WriteKeys(Oxa::System::Rsc::IRscWriteEnumerator<ItemKey>& enumerator) const
    {
        enumerator.BeginWrite(announcedCount);
        for (const auto& key : keys)
        {
            enumerator.WriteNext(ItemKey(key));
        }
        enumerator.EndWrite();
    }

    void ReadValues(Oxa::System::Rsc::IRscReadEnumerator<ItemValue>& enumerator)
    {
        values.clear();
        values.reserve(enumerator.BeginRead());
        for (ItemValue value; enumerator.ReadNext(value);)
        {
            values.push_back(value);
        }
        enumerator.EndRead();
    }

    const std::vector<BasicString> keys;
    std::vector<ItemValue> values;
    const Oxa::Device::Interface::Services::WriteItemKeysDelegate writeKeys =
        Oxa::Device::Interface::Services::WriteItemKeysDelegate::Bind(*this, &MultiReadClient::WriteKeys);
    const Oxa::Device::Interface::Services::ReadItemValuesDelegate readValues =
        Oxa::Device::Interface::Services::ReadItemValuesDelegate::Bind(*this, &MultiReadClient::ReadValues);
};

} // namespace Oxa::Tests::Device
