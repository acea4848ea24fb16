#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"

#include <cstddef>

namespace Oxa::System::Rsc::Internal
{

/// The messages of one connection, none of which may be longer than a bound. sd-bus makes room for as much as a
/// message's header announces; therefore each header is looked at while it still lies in the socket. Clients may send
/// their first message, and more, right behind the handshake, and sd-bus may have read a part of that together with the
/// handshake. Until what was read so is used up, it is unknown where messages begin in the socket, and no header can be
/// looked at: the connection ends when more has come in than a message may have. Owned by the connection. Threads:
/// everything under the connection's lock, but for waiting at the descriptor.
class MessageStream final
{
public:
    enum class Progress
    {
        /// There may be more.
        Worked,
        /// Wait until the descriptor is ready for `GetPollEvents`.
        Idle,
        /// A header has come in part: wait for `partialHeaderWait`, the descriptor would say ready at once.
        Partial
    };

    /// In milliseconds, as poll takes it.
    static constexpr int partialHeaderWait = 1;

    /// Takes the bus over; it is authenticated. Throws RscServiceException when there is no memory.
    MessageStream(BusHandle bus, std::size_t maximumBytes);
    MessageStream(const MessageStream&) = delete;
    MessageStream& operator=(const MessageStream&) = delete;
    ~MessageStream();

    [[nodiscard]] sd_bus& GetBus() noexcept
    {
        return *bus;
    }

    /// Sends what waits and handles at most one message, or all that sd-bus read together with the handshake. Throws
    /// RscServiceException with the cause alone: ConnectionLost when the other end is gone, InvalidResponse when what
    /// it sent is no message or too long.
    [[nodiscard]] Progress Process();

    /// A message has come in completely: for this class's own filter.
    void NoteMessage() noexcept
    {
        ++messageCount;
        isInsideMessage = false;
        missingBytes = maximumBytes;
    }

    /// Whether a message is known to have begun and not to be complete.
    [[nodiscard]] bool IsInsideMessage() const noexcept
    {
        return isInsideMessage || (!isFramed && missingBytes < maximumBytes);
    }

    [[nodiscard]] int GetDescriptor() const noexcept;
    [[nodiscard]] short GetPollEvents() const noexcept;

private:
    enum class Header
    {
        None,
        Partial,
        Whole
    };

    [[nodiscard]] Progress ProcessUnframed();
    [[nodiscard]] bool StartsWithHeader() const noexcept;
    [[nodiscard]] Header PeekHeader();
    void RequireMoreToCome() const;
    [[nodiscard]] Progress ProcessMessage();
    [[nodiscard]] Progress ProcessCounted(int& available);
    [[nodiscard]] Progress ProcessBus();

    const BusHandle bus;
    const std::size_t maximumBytes;
    SlotHandle filter;
    /// What comes next in the socket is the beginning of a message, unless `isInsideMessage`.
    bool isFramed = false;
    /// sd-bus found nothing more to do with what it has read; only while not framed.
    bool isDrained = false;
    bool isInsideMessage = false;
    uint64 messageCount = 0;
    /// Of the message that has begun to come in, at most.
    uint64 missingBytes;
};

} // namespace Oxa::System::Rsc::Internal
