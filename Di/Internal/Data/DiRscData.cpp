#include "Di/Internal/Data/DiRscData.hpp"

#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/RscArrayReader.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <array>
#include <cstddef>
#include <limits>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

using System::Commons::Text::Format;
using System::Rsc::IRscReadEnumerator;
using System::Rsc::IRscWriteEnumerator;
using System::Rsc::RscArrayReader;
using System::Rsc::RscString;
using System::Rsc::RscType;
using System::Rsc::RscVariant;

namespace
{

const BasicString notAvailable = "N/A";

template <class T>
bool ConvertScalar(const RscVariant<512>& value, RscType acceptedType, T failureValue, T& out)
{
    out = failureValue;
    if (value.GetType() != acceptedType)
    {
        return false;
    }
    value.CopyTo(out);
    return true;
}

template <class T>
BasicString FormatDecimal(const RscVariant<512>& value)
{
    T number = 0;
    value.CopyTo(number);
    return Format("{0:d}", number);
}

} // namespace

DiRscData::DiRscData()
    : keysDelegate(decltype(keysDelegate)::Bind(*this, &DiRscData::WriteRscStringItemsIdentifiers)),
      resultsDelegate(decltype(resultsDelegate)::Bind(*this, &DiRscData::ReadRscVariantItemsResults))
{
}

DiRscData::~DiRscData() = default;

void DiRscData::WriteRscStringItemsIdentifiers(IRscWriteEnumerator<RscString<512>>& enumerator) const
{
    enumerator.BeginWrite(itemKeys.size());
    for (const RscString<512>& key : itemKeys)
    {
        enumerator.WriteNext(key);
    }
    enumerator.EndWrite();
}

void DiRscData::ReadRscVariantItemsResults(IRscReadEnumerator<RscVariant<512>>& enumerator)
{
    const std::size_t announcedCount = enumerator.BeginRead();
    results.clear();
    results.reserve(announcedCount);
    RscVariant<512> value;
    value.SetType(RscType::NotSet);
    // Only the end of the enumeration determines the number of results; the announced number sizes the list.
    while (enumerator.ReadNext(value))
    {
        if (value.GetType() == RscType::Array)
        {
            ReadRscArrayElements(value);
        }
        results.push_back(value);
    }
    enumerator.EndRead();
}

void DiRscData::ReadRscArrayElements(RscVariant<512>& value)
{
    RscArrayReader reader(value);
    for (uint32 index = 0; index < reader.GetElementCount(); ++index)
    {
        std::array<std::byte, RscArrayReader::maximumPrimitiveBytes> element = {};
        reader.ReadNext(element);
    }
}

bool DiRscData::ConvRscVariant512Value(const RscVariant<512>& value, bool& out)
{
    return ConvertScalar(value, RscType::Bool, false, out);
}

bool DiRscData::ConvRscVariant512Value(const RscVariant<512>& value, int8& out)
{
    return ConvertScalar(value, RscType::Int8, std::numeric_limits<int8>::min(), out);
}

bool DiRscData::ConvRscVariant512Value(const RscVariant<512>& value, uint8& out)
{
    return ConvertScalar(value, RscType::Uint8, std::numeric_limits<uint8>::max(), out);
}

bool DiRscData::ConvRscVariant512Value(const RscVariant<512>& value, uint32& out)
{
    return ConvertScalar(value, RscType::Uint32, std::numeric_limits<uint32>::max(), out);
}

bool DiRscData::ConvRscVariant512Value(const RscVariant<512>& value, uint64& out)
{
    return ConvertScalar(value, RscType::Uint64, std::numeric_limits<uint64>::max(), out);
}

bool DiRscData::ConvRscVariant512Value(const RscVariant<512>& value, BasicString& out)
{
    out = notAvailable;
    switch (value.GetType())
    {
    case RscType::String:
        out = value.ToString();
        return true;
    case RscType::Uint32:
        out = FormatDecimal<uint32>(value);
        return true;
    case RscType::Uint16:
        out = FormatDecimal<uint16>(value);
        return true;
    case RscType::Uint8:
        out = FormatDecimal<uint8>(value);
        return true;
    default:
        return false;
    }
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
