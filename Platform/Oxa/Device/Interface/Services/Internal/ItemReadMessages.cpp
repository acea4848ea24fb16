#include "Oxa/Device/Interface/Services/Internal/ItemReadMessages.hpp"

namespace Oxa::Device::Interface::Services::Internal
{

using System::Rsc::RscMessageReader;
using System::Rsc::RscMessageWriter;

KeySender::KeySender(RscMessageWriter& writer) noexcept : writer(writer) {}

void KeySender::BeginWrite(std::size_t newCount)
{
    count = newCount;
    writer.BeginArray("s");
}

void KeySender::WriteNext(const ItemKey& key)
{
    writer.WriteText(key.GetView());
}

void KeySender::EndWrite()
{
    writer.EndArray();
}

std::size_t KeySender::GetCount() const noexcept
{
    return count;
}

ValueReceiver::ValueReceiver(RscMessageReader& reader, std::size_t count) noexcept : reader(reader), count(count) {}

std::size_t ValueReceiver::BeginRead()
{
    reader.EnterArray(RscMessageWriter::valueSignature);
    isInside = true;
    return count;
}

bool ValueReceiver::ReadNext(ItemValue& value)
{
    isInside = isInside && !reader.TryLeaveArray();
    if (isInside)
    {
        reader.ReadValue(value);
    }
    return isInside;
}

void ValueReceiver::EndRead() {}

KeyReceiver::KeyReceiver(RscMessageReader& reader)
{
    reader.EnterArray("s");
    while (!reader.TryLeaveArray())
    {
        texts.push_back(reader.ReadText());
    }
}

void KeyReceiver::Write(System::Rsc::IRscWriteEnumerator<ItemKey>& keys)
{
    keys.BeginWrite(texts.size());
    for (const std::string_view text : texts)
    {
        // Texts of a message end with a NUL.
        keys.WriteNext(ItemKey(text.data()));
    }
    keys.EndWrite();
}

ValueSender::ValueSender(RscMessageWriter& writer) noexcept : writer(writer) {}

void ValueSender::Read(System::Rsc::IRscReadEnumerator<ItemValue>& values)
{
    ItemValue value;
    values.BeginRead();
    writer.BeginArray(RscMessageWriter::valueSignature);
    while (values.ReadNext(value))
    {
        writer.WriteValue(value);
    }
    writer.EndArray();
    values.EndRead();
}

} // namespace Oxa::Device::Interface::Services::Internal
