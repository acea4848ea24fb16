#pragma once

#include "Oxa/Device/Interface/Services/DeviceItems.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

namespace Oxa::Device::Interface::Services::Internal
{

/// Writes the keys of a read into its message.
class KeySender final : public System::Rsc::IRscWriteEnumerator<ItemKey>
{
public:
    explicit KeySender(System::Rsc::RscMessageWriter& writer) noexcept;

    void BeginWrite(std::size_t newCount) override;
    void WriteNext(const ItemKey& key) override;
    void EndWrite() override;

    [[nodiscard]] std::size_t GetCount() const noexcept;

private:
    System::Rsc::RscMessageWriter& writer;
    std::size_t count = 0;
};

/// Takes the values of a read out of the answer.
class ValueReceiver final : public System::Rsc::IRscReadEnumerator<ItemValue>
{
public:
    /// `count`: of the keys.
    ValueReceiver(System::Rsc::RscMessageReader& reader, std::size_t count) noexcept;

    std::size_t BeginRead() override;
    bool ReadNext(ItemValue& value) override;
    void EndRead() override;

private:
    System::Rsc::RscMessageReader& reader;
    const std::size_t count;
    bool isInside = false;
};

/// The keys that came in with a read.
class KeyReceiver final
{
public:
    explicit KeyReceiver(System::Rsc::RscMessageReader& reader);

    void Write(System::Rsc::IRscWriteEnumerator<ItemKey>& keys);

private:
    /// In the message.
    std::vector<std::string_view> texts;
};

/// Writes the values of a read into its answer.
class ValueSender final
{
public:
    explicit ValueSender(System::Rsc::RscMessageWriter& writer) noexcept;

    void Read(System::Rsc::IRscReadEnumerator<ItemValue>& values);

private:
    System::Rsc::RscMessageWriter& writer;
};

} // namespace Oxa::Device::Interface::Services::Internal
