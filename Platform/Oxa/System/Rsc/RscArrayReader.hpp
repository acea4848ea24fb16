#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/RscVariant.hpp"

#include <cstddef>
#include <span>

namespace Oxa::System::Rsc
{

/// Reads the elements of a variant of type Array, one after the other.
/// Threads: one at a time. Valid only during the read that delivered the variant.
class OXA_EXPORT RscArrayReader final
{
public:
    /// Of the widest primitive element.
    static constexpr std::size_t maximumPrimitiveBytes = 8;

    /// Throws InvalidOperationException when the variant is no array, ArgumentException when its
    /// information about its elements is invalid.
    template <std::size_t N>
    explicit RscArrayReader(const RscVariant<N>& value) : RscArrayReader(GetInformation(value))
    {
    }

    [[nodiscard]] uint32 GetElementCount() const noexcept
    {
        return information.elementCount;
    }

    [[nodiscard]] uint8 GetDimensions() const noexcept
    {
        return information.dimensions;
    }

    [[nodiscard]] RscType GetElementType() const noexcept
    {
        return information.elementType;
    }

    /// Copies the next element's bytes. Requires: a buffer of `maximumPrimitiveBytes`. Throws InvalidOperationException
    /// when the elements are not primitive or are arrays themselves, and what the source throws.
    void ReadNext(std::span<std::byte> element);

    /// The next element of an array with more than one dimension. Throws InvalidOperationException for any other.
    template <std::size_t N>
    void ReadNextArray(RscVariant<N>& element)
    {
        RequireSubarrays();
        ReadElement(&element, sizeof element);
    }

private:
    explicit RscArrayReader(const RscArrayInformation& information);

    template <std::size_t N>
    [[nodiscard]] static RscArrayInformation GetInformation(const RscVariant<N>& value)
    {
        if (value.GetType() != RscType::Array)
        {
            throw System::Commons::InvalidOperationException::Create("RscVariant doesn't contain array information");
        }
        RscArrayInformation information;
        value.CopyTo(information);
        return information;
    }

    void RequireSubarrays() const;
    void ReadElement(void* element, std::size_t elementBytes);

    RscArrayInformation information;
};

} // namespace Oxa::System::Rsc
