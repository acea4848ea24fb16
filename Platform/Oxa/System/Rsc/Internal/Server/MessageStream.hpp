#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"

#include <poll.h>

#include <chrono>
#include <cstddef>

namespace Oxa::System::Rsc::Internal
{

/// What comes in on one connection of the server: the handshake, then messages, none of which may be longer than a
/// bound or take longer than `completionTimeout`. sd-bus reserves as much memory as a message's header announces;
/// therefore each header is checked while it is still in the socket. Owned by the connection. Threads: everything under
/// the connection's lock.
class MessageStream final
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// For the handshake, and for a message from its first byte to its last.
    static constexpr std::chrono::seconds completionTimeout{2};

    /// Takes over a started bus. Throws InvalidOperationException when there is no memory.
    MessageStream(BusHandle bus, std::size_t maximumBytes, TimePoint now);
    MessageStream(const MessageStream&) = delete;
    MessageStream& operator=(const MessageStream&) = delete;
    ~MessageStream();

    [[nodiscard]] sd_bus& GetBus() const noexcept
    {
        return *bus;
    }

    /// Does one step without waiting: continues the handshake, or sends what is queued and handles at most one message,
    /// or all that sd-bus read together with the handshake. Throws RscServiceException with the cause alone:
    /// ConnectionLost when the peer is gone, InvalidResponse when what it sent is no message, too long or too late.
    void Process(TimePoint now);

    /// The descriptor and what to wait for.
    [[nodiscard]] pollfd GetPoll() const noexcept;
    /// When `Process` must be called at the latest; the end of time when only the descriptor matters.
    [[nodiscard]] TimePoint GetDeadline() const noexcept;

private:
    enum class State
    {
        Handshake,
        /// sd-bus may have read a part of the first messages together with the handshake, as clients may send them
        /// right behind it. Until that is used up, it is unknown where messages begin in the socket.
        Unaligned,
        /// The next byte in the socket begins a message.
        Aligned,
        /// As before, with a part of the header in the socket. The descriptor stays ready then, so it is not waited
        /// for.
        PartialHeader,
        /// A header was checked, and its message is not complete.
        InsideMessage
    };

    static int OnMessage(sd_bus_message* message, void* stream, sd_bus_error* error) noexcept;

    void ProcessUnaligned();
    void ProcessAligned();
    [[nodiscard]] bool StartsWithHeader() const noexcept;
    void CheckHeader();
    [[nodiscard]] bool ProcessCounted(int& available);
    [[nodiscard]] bool ProcessBus();
    [[nodiscard]] bool IsIncomplete() const noexcept;

    const BusHandle bus;
    const std::size_t maximumBytes;
    SlotHandle filter;
    State state = State::Handshake;
    /// sd-bus found nothing more to do with what it has read; only while unaligned.
    bool isDrained = false;
    uint64 messageCount = 0;
    /// Of the message that is coming in, at most.
    uint64 missingBytes;
    TimePoint nextLook;
    /// Until then the handshake or the message must be complete.
    TimePoint deadline;
};

} // namespace Oxa::System::Rsc::Internal
