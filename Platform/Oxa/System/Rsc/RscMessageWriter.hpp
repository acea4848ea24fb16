#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscVariant.hpp"

#include <cstddef>
#include <span>
#include <string_view>

struct sd_bus_message;

namespace Oxa::System::Rsc
{

/// Writes arguments or results into the message of one call, in the order of the operation's signature.
/// Threads: one at a time. Valid during the call that it is passed to. Everything throws InvalidOperationException when
/// the message cannot take it: what is written does not follow the signature, or the message would be too long.
class OXA_EXPORT RscMessageWriter final
{
public:
    /// How a variant crosses, in the notation of D-Bus: its type tag, then its value in the type of the bus that people
    /// can read.
    static constexpr const char* valueSignature = "(yv)";

    /// Borrows the message.
    explicit RscMessageWriter(sd_bus_message& message) noexcept;

    /// Signatures "b", "q", "u", "t", "x", "d".
    void WriteBool(bool value);
    void WriteUint16(uint16 value);
    void WriteUint32(uint32 value);
    void WriteUint64(uint64 value);
    void WriteInt64(int64 value);
    void WriteReal64(double value);

    /// Signature "s". A text that is no UTF-8 or holds a NUL is not written: an empty one is. The values of a device go
    /// as variants, which hold any bytes.
    void WriteText(std::string_view text);

    /// Signature `valueSignature`. The elements of an array are read from its source and written as well.
    template <std::size_t N>
    void WriteValue(const RscVariant<N>& value)
    {
        WritePayload(value.GetType(), value.GetPayload());
    }

    /// Everything until `EndArray` are its elements. `elementSignature`: of one.
    void BeginArray(const char* elementSignature);
    void EndArray();

    /// Everything until `EndStructure` are its members. `membersSignature`: of all, without the parentheses.
    void BeginStructure(const char* membersSignature);
    void EndStructure();

private:
    void WritePayload(RscType type, std::span<const char> payload);
    void WriteVersion(const RscVersion& version);
    void WriteArray(const RscArrayInformation& information);
    void WriteElements(const RscArrayInformation& information);
    void Reserve(std::size_t bytes);

    sd_bus_message& message;
    std::size_t remainingBytes;
};

} // namespace Oxa::System::Rsc
