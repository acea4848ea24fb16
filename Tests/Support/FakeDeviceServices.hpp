#pragma once

#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/IRtcService.hpp"
#include "Oxa/System/Um/Services/Internal/IAuthorizationService.hpp"

#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

namespace Oxa::Tests::Support
{

using Oxa::Device::Interface::Services::ItemKey;
using Oxa::Device::Interface::Services::ItemValue;

/// The items of a device that lives in memory.
class FakeItems final
{
public:
    /// Every key that was asked for, in order.
    [[nodiscard]] const std::vector<BasicString>& GetReadKeys() const
    {
        return readKeys;
    }

    [[nodiscard]] ItemValue Read(const ItemKey& key)
    {
        readKeys.push_back(key.ToString());
        if (nextFailure)
        {
            std::rethrow_exception(std::exchange(nextFailure, nullptr));
        }
        if (isBroken)
        {
            throw std::runtime_error("the device does not answer");
        }
        const auto found = values.find(key.GetView());
        return found == values.end() ? ItemValue() : found->second;
    }

    std::map<BasicString, ItemValue, std::less<>> values;
    bool isBroken = false;
    /// What the next read throws, once.
    std::exception_ptr nextFailure;
    /// How many values a multi-item read delivers beyond one for each key; negative: fewer.
    int extraResults = 0;

private:
    std::vector<BasicString> readKeys;
};

/// A device information or status service over such items.
template <class TService>
class FakeItemService final : public TService
{
public:
    explicit FakeItemService(FakeItems& items) : items(items) {}

    [[nodiscard]] ItemValue ReadItem(const ItemKey& key) override
    {
        return items.Read(key);
    }

    void ReadItems(Oxa::Device::Interface::Services::WriteItemKeysDelegate writeKeys,
                   Oxa::Device::Interface::Services::ReadItemValuesDelegate readValues) override
    {
        KeyTaker keys;
        writeKeys(keys);
        ValueGiver values;
        for (const ItemKey& key : keys.keys)
        {
            values.values.push_back(items.Read(key));
        }
        values.announcedCount = values.values.size();
        values.values.resize(values.values.size() + static_cast<std::size_t>(items.extraResults));
        readValues(values);
    }

private:
    struct KeyTaker final : System::Rsc::IRscWriteEnumerator<ItemKey>
    {
        void BeginWrite(std::size_t count) override
        {
            keys.reserve(count);
        }

        void WriteNext(const ItemKey& key) override
        {
            keys.push_back(key);
        }

        void EndWrite() override {}

        std::vector<ItemKey> keys;
    };

    struct ValueGiver final : System::Rsc::IRscReadEnumerator<ItemValue>
    {
        std::size_t BeginRead() override
        {
            return announcedCount;
        }

        bool ReadNext(ItemValue& value) override
        {
            if (next == values.size())
            {
                return false;
            }
            value = values[next++];
            return true;
        }

        void EndRead() override {}

        std::vector<ItemValue> values;
        std::size_t announcedCount = 0;
        std::size_t next = 0;
    };

    FakeItems& items;
};

using FakeDeviceInfoService = FakeItemService<Oxa::Device::Interface::Services::IDeviceInfoService>;
using FakeDeviceStatusService = FakeItemService<Oxa::Device::Interface::Services::IDeviceStatusService>;

class FakeDeviceControlService final : public Oxa::Device::Interface::Services::IDeviceControlService
{
public:
    Oxa::Device::Interface::Services::AccessErrorCode Restart() override
    {
        ++restartCount;
        return Answer();
    }

    [[nodiscard]] Oxa::Device::Interface::Services::AccessErrorCode FactoryReset(uint16 resetKind) override
    {
        resetKinds.push_back(resetKind);
        return Answer();
    }

    Oxa::Device::Interface::Services::AccessErrorCode result = Oxa::Device::Interface::Services::AccessErrorCode::None;
    bool isBroken = false;
    int restartCount = 0;
    std::vector<uint16> resetKinds;

private:
    [[nodiscard]] Oxa::Device::Interface::Services::AccessErrorCode Answer() const
    {
        if (isBroken)
        {
            throw std::runtime_error("the device does not answer");
        }
        return result;
    }
};

class FakeRtcService final : public Oxa::Hardware::RealTimeClock::Services::Internal::IRtcService
{
public:
    void WriteDateTime(const Oxa::DateTime& dateTime) override
    {
        now = dateTime;
    }

    [[nodiscard]] Oxa::DateTime ReadDateTime() override
    {
        if (isBroken)
        {
            throw std::runtime_error("the clock does not answer");
        }
        return now;
    }

    Oxa::DateTime now;
    bool isBroken = false;
};

/// Grants everything to one token and nothing to others.
class FakeAuthorizationService final : public System::Um::Services::Internal::IAuthorizationService
{
public:
    [[nodiscard]] bool IsAuthorized(const System::Rsc::RscString<512>& objectName, uint32 permission,
                                    uint32 tokenValue) override
    {
        questions.emplace_back(objectName.ToString(), permission, tokenValue);
        return tokenValue == grantedToken;
    }

    uint32 grantedToken = 1;
    std::vector<std::tuple<BasicString, uint32, uint32>> questions;
};

} // namespace Oxa::Tests::Support
