#include "Oxa/System/Rsc/RscArrayReader.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"

#include <cassert>

namespace Oxa::System::Rsc
{

using System::Commons::ArgumentException;
using System::Commons::InvalidOperationException;

RscArrayReader::RscArrayReader(const RscArrayInformation& information) : information(information)
{
    if (information.elementType == RscType::NotSet)
    {
        throw ArgumentException::CreateDefault("arrayElementType");
    }
    if (information.dimensions == 0)
    {
        throw ArgumentException(System::Commons::Text::Format("{0}: dimension size has to be >= 0", "RscArrayReader"));
    }
    const bool hasRemoteSource = information.remotingSource != nullptr && information.readRemoteElement != nullptr;
    if (information.readElement == nullptr && !hasRemoteSource)
    {
        throw ArgumentException("ReadElementFunction in RscVariant has to be defined");
    }
}

void RscArrayReader::ReadNext(std::span<std::byte> element)
{
    assert(element.size() >= maximumPrimitiveBytes);
    if (!IsPrimitive(information.elementType))
    {
        // The misspelling stays: users and tools search logs for exactly this text.
        throw InvalidOperationException::Create("This method can only be used with primitve Types");
    }
    if (information.dimensions > 1)
    {
        throw InvalidOperationException::Create("This element contains subarrays, please use ReadNextArray instead");
    }
    ReadElement(element.data(), element.size());
}

void RscArrayReader::RequireSubarrays() const
{
    if (information.dimensions <= 1)
    {
        throw InvalidOperationException::Create("This element contains no subarrays, please use ReadNext instead");
    }
}

void RscArrayReader::ReadElement(void* element, std::size_t elementBytes)
{
    if (information.readElement != nullptr)
    {
        information.readElement(information.readElementContext, element, elementBytes);
        return;
    }
    information.readRemoteElement(information.remotingSource, element, elementBytes);
}

} // namespace Oxa::System::Rsc
