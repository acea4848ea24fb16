// Handshake -> Unaligned -> Aligned <-> PartialHeader, InsideMessage. Unaligned, the connection ends when more has come
// in than a message may have and none has become complete, which bounds the memory as well; what then looks like the
// beginning of a message need not be one, which ends the connection later, once in a while.

#include "Oxa/System/Rsc/Internal/Server/MessageStream.hpp"

#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

namespace
{

/// What every message of the protocol begins with.
constexpr std::size_t headerBytes = 16;
constexpr std::chrono::milliseconds partialHeaderWait{1};

using HeaderBytes = std::array<unsigned char, headerBytes>;

uint32 GetNumber(const HeaderBytes& header, std::size_t offset) noexcept
{
    const bool isBigEndian = header[0] == 'B';
    uint32 number = 0;
    for (std::size_t index = 0; index < sizeof number; ++index)
    {
        const std::size_t shift = 8 * (isBigEndian ? sizeof number - 1 - index : index);
        number |= static_cast<uint32>(header.at(offset + index)) << shift;
    }
    return number;
}

bool IsHeader(const HeaderBytes& header) noexcept
{
    return (header[0] == 'l' || header[0] == 'B') && header[3] == 1;
}

/// Of the whole message: fixed header, fields up to a multiple of 8, body.
uint64 GetMessageBytes(const HeaderBytes& header) noexcept
{
    const uint64 fieldBytes = (uint64{GetNumber(header, 12)} + 7) / 8 * 8;
    return headerBytes + fieldBytes + GetNumber(header, 4);
}

ssize_t Peek(int descriptor, HeaderBytes& header) noexcept
{
    return recv(descriptor, header.data(), header.size(), MSG_PEEK | MSG_DONTWAIT);
}

[[noreturn]] void ThrowLost(int error)
{
    throw RscServiceException::Create(RscFault::ConnectionLost, "the connection is lost: {0}",
                                      std::generic_category().message(error));
}

} // namespace

MessageStream::MessageStream(BusHandle newBus, std::size_t maximumBytes, TimePoint now)
    : bus(std::move(newBus)), maximumBytes(maximumBytes), missingBytes(maximumBytes), deadline(now + completionTimeout)
{
    sd_bus_slot* slot = nullptr;
    RequireSuccess(sd_bus_add_filter(bus.get(), &slot, &OnMessage, this), "cannot watch a connection");
    filter.reset(slot);
}

MessageStream::~MessageStream() = default;

void MessageStream::Process(TimePoint now)
{
    if (state == State::Handshake)
    {
        static_cast<void>(ProcessBus());
        state = sd_bus_is_ready(bus.get()) > 0 ? State::Unaligned : State::Handshake;
    }
    if (state == State::Unaligned)
    {
        // Also right after the handshake: what sd-bus read with it does not make the descriptor ready any more.
        ProcessUnaligned();
    }
    else if (state != State::Handshake)
    {
        ProcessAligned();
    }
    nextLook = now + partialHeaderWait;
    if (!IsIncomplete())
    {
        deadline = TimePoint::max();
    }
    else if (deadline == TimePoint::max())
    {
        deadline = now + completionTimeout;
    }
    else if (now >= deadline)
    {
        throw RscServiceException::Create(RscFault::InvalidResponse, "the {0} remains incomplete",
                                          state == State::Handshake ? "handshake" : "message");
    }
}

pollfd MessageStream::GetPoll() const noexcept
{
    const int events = sd_bus_get_events(bus.get());
    const int wanted = (events < 0 ? 0 : events) | POLLIN;
    return {sd_bus_get_fd(bus.get()), static_cast<short>(state == State::PartialHeader ? wanted & ~POLLIN : wanted), 0};
}

MessageStream::TimePoint MessageStream::GetDeadline() const noexcept
{
    return state == State::PartialHeader ? nextLook : deadline;
}

/// A message has become complete.
int MessageStream::OnMessage(sd_bus_message* /*message*/, void* stream, sd_bus_error* /*error*/) noexcept
{
    auto& self = *static_cast<MessageStream*>(stream);
    ++self.messageCount;
    self.missingBytes = self.maximumBytes;
    self.state = self.state == State::InsideMessage ? State::Aligned : self.state;
    return 0;
}

void MessageStream::ProcessUnaligned()
{
    if (isDrained && StartsWithHeader())
    {
        state = State::Aligned;
        ProcessAligned();
        return;
    }
    bool isWorking = true;
    int available = 0;
    while (isWorking && available == 0)
    {
        isWorking = ProcessCounted(available);
    }
    isDrained = !isWorking;
}

/// A message that sd-bus has in part continues with any bytes, so they may look like a header.
bool MessageStream::StartsWithHeader() const noexcept
{
    HeaderBytes header;
    return Peek(sd_bus_get_fd(bus.get()), header) == static_cast<ssize_t>(header.size()) && IsHeader(header);
}

void MessageStream::ProcessAligned()
{
    uint64 queued = 0;
    if (state != State::InsideMessage)
    {
        if (sd_bus_get_n_queued_read(bus.get(), &queued) >= 0 && queued > 0)
        {
            static_cast<void>(ProcessBus());
            return;
        }
        CheckHeader();
    }
    int available = 0;
    if (state == State::InsideMessage)
    {
        static_cast<void>(ProcessCounted(available));
    }
    // Without a header, only what is queued to be sent matters. A header that arrives at this very moment is not
    // checked; at worst the next one does not look like a header and the connection ends.
    else if ((GetPoll().events & POLLOUT) != 0)
    {
        static_cast<void>(ProcessBus());
    }
}

/// Looks at what lies in the socket where a message begins. Requires: state Aligned or PartialHeader.
void MessageStream::CheckHeader()
{
    HeaderBytes header;
    pollfd closed{sd_bus_get_fd(bus.get()), POLLRDHUP, 0};
    const ssize_t size = Peek(closed.fd, header);
    if (size < 0)
    {
        if (errno != EAGAIN && errno != EINTR)
        {
            ThrowLost(errno);
        }
        state = State::Aligned;
        return;
    }
    if (size < static_cast<ssize_t>(header.size()))
    {
        // MSG_PEEK does not report the end of the stream while unread bytes are left.
        if (size == 0 || poll(&closed, 1, 0) > 0)
        {
            ThrowLost(ECONNRESET);
        }
        state = State::PartialHeader;
        return;
    }
    if (!IsHeader(header))
    {
        throw RscServiceException::Create(RscFault::InvalidResponse, "the data received is no message");
    }
    missingBytes = GetMessageBytes(header);
    if (missingBytes > maximumBytes)
    {
        throw RscServiceException::Create(RscFault::InvalidResponse, "a message of {0} bytes is longer than {1}",
                                          missingBytes, maximumBytes);
    }
    state = State::InsideMessage;
}

/// sd-bus silently drops a message that it cannot understand, and reads what follows regardless of its length.
/// `available`: what lay in the socket before. False when nothing is left to do.
bool MessageStream::ProcessCounted(int& available)
{
    uint64 queued = 0;
    // sd-bus reads only when nothing is queued to be sent; only then do the bytes count as read.
    const bool isRead = sd_bus_get_n_queued_write(bus.get(), &queued) >= 0 && queued == 0;
    if (ioctl(sd_bus_get_fd(bus.get()), FIONREAD, &available) != 0)
    {
        ThrowLost(errno);
    }
    const uint64 messagesBefore = messageCount;
    const bool isWorking = ProcessBus();
    if (isRead && messageCount == messagesBefore)
    {
        missingBytes -= std::min(missingBytes, static_cast<uint64>(available));
        if (missingBytes == 0)
        {
            throw RscServiceException(RscFault::InvalidResponse, "the data received is no valid message");
        }
    }
    return isWorking;
}

/// False when nothing is left to do.
bool MessageStream::ProcessBus()
{
    const int result = sd_bus_process(bus.get(), nullptr);
    if (IsHangUp(-result) || sd_bus_is_open(bus.get()) <= 0)
    {
        ThrowLost(IsHangUp(-result) ? -result : ECONNRESET);
    }
    if (result < 0)
    {
        throw RscServiceException::Create(RscFault::InvalidResponse, "the data received is invalid: {0}",
                                          std::generic_category().message(-result));
    }
    return result > 0;
}

bool MessageStream::IsIncomplete() const noexcept
{
    return state == State::Unaligned ? missingBytes < maximumBytes : state != State::Aligned;
}

} // namespace Oxa::System::Rsc::Internal
