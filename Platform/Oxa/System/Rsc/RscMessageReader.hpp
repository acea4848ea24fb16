#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscVariant.hpp"

#include <cstddef>
#include <list>
#include <span>
#include <string_view>

struct sd_bus_message;

namespace Oxa::System::Rsc
{

namespace Internal
{
struct RemoteArray;
} // namespace Internal

/// Takes arguments or results off the message of one call, in the order of the operation's signature. The message comes
/// from another process: everything throws RscServiceException, InvalidResponse, when it holds something else.
/// Threads: one at a time. Valid during the call that it is passed to.
class OXA_EXPORT RscMessageReader final
{
public:
    /// Borrows the message.
    explicit RscMessageReader(sd_bus_message& message);
    RscMessageReader(const RscMessageReader&) = delete;
    RscMessageReader& operator=(const RscMessageReader&) = delete;
    ~RscMessageReader();

    /// Signatures "b", "q", "u", "t", "x", "d".
    [[nodiscard]] bool ReadBool();
    [[nodiscard]] uint16 ReadUint16();
    [[nodiscard]] uint32 ReadUint32();
    [[nodiscard]] uint64 ReadUint64();
    [[nodiscard]] int64 ReadInt64();
    [[nodiscard]] double ReadReal64();

    /// Signature "s". Valid as long as this object.
    [[nodiscard]] std::string_view ReadText();

    /// Signature `RscMessageWriter::valueSignature`. The elements of an array can be read as long as this object
    /// exists.
    template <std::size_t N>
    void ReadValue(RscVariant<N>& value)
    {
        ReadPayload([](void* variant, RscType type, std::span<const char> payload)
                    { static_cast<RscVariant<N>*>(variant)->Assign(type, payload); },
                    &value, N);
    }

    /// For a value that outlives this object: as `ReadValue`, but the elements of an array cannot be read.
    template <std::size_t N>
    void ReadDetachedValue(RscVariant<N>& value)
    {
        ReadValue(value);
        if (value.GetType() == RscType::Array)
        {
            RscArrayInformation information;
            value.CopyTo(information);
            information.readRemoteElement = nullptr;
            information.remotingSource = nullptr;
            value = RscVariant<N>(information);
        }
    }

    /// Everything until `TryLeaveArray` are its elements. `elementSignature`: of one.
    void EnterArray(const char* elementSignature);
    /// True, and the array is left, when no element is left.
    [[nodiscard]] bool TryLeaveArray();

    /// Everything until `LeaveStructure` are its members, which are all taken. `membersSignature`: of all, without the
    /// parentheses.
    void EnterStructure(const char* membersSignature);
    void LeaveStructure();

private:
    using AssignFunction = void (*)(void* variant, RscType type, std::span<const char> payload);

    void ReadPayload(AssignFunction assign, void* variant, std::size_t maximumBytes);
    [[nodiscard]] Internal::RemoteArray& ReadArray();

    sd_bus_message& message;
    std::list<Internal::RemoteArray> arrays;
};

} // namespace Oxa::System::Rsc
