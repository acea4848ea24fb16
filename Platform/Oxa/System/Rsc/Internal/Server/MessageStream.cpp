#include "Oxa/System/Rsc/Internal/Server/MessageStream.hpp"

#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <poll.h>
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

bool IsLoss(int error) noexcept
{
    return error == ECONNRESET || error == EPIPE || error == ENOTCONN || error == ESHUTDOWN || error == ECONNABORTED;
}

int OnOtherMessage(sd_bus_message* /*message*/, void* stream, sd_bus_error* /*error*/)
{
    static_cast<MessageStream*>(stream)->NoteMessage();
    return 0;
}

} // namespace

MessageStream::MessageStream(BusHandle newBus, std::size_t maximumBytes)
    : bus(std::move(newBus)), maximumBytes(maximumBytes), missingBytes(maximumBytes)
{
    sd_bus_slot* slot = nullptr;
    if (sd_bus_add_filter(bus.get(), &slot, &OnOtherMessage, this) < 0)
    {
        ThrowLost(ENOMEM);
    }
    filter.reset(slot);
}

MessageStream::~MessageStream() = default;

MessageStream::Progress MessageStream::Process()
{
    if (!isFramed && !(isDrained && StartsWithHeader()))
    {
        return ProcessUnframed();
    }
    isFramed = true;
    if (isInsideMessage)
    {
        return ProcessMessage();
    }
    uint64 queued = 0;
    if (sd_bus_get_n_queued_read(bus.get(), &queued) >= 0 && queued > 0)
    {
        return ProcessBus();
    }
    const Header header = PeekHeader();
    isInsideMessage = header == Header::Whole;
    if (isInsideMessage)
    {
        return ProcessMessage();
    }
    // Without one, only what waits to be sent is of interest. Should a header come in at this very moment, it is not
    // looked at; the worst that can come of it is that the next one does not look like a header and the connection
    // ends.
    if ((GetPollEvents() & POLLOUT) != 0)
    {
        return ProcessBus();
    }
    return header == Header::Partial ? Progress::Partial : Progress::Idle;
}

int MessageStream::GetDescriptor() const noexcept
{
    return sd_bus_get_fd(bus.get());
}

short MessageStream::GetPollEvents() const noexcept
{
    const int events = sd_bus_get_events(bus.get());
    return static_cast<short>(events < 0 ? POLLIN : events | POLLIN);
}

/// A message that sd-bus has in part goes on with anything; what looks like a header then is none once in a while,
/// which ends the connection.
bool MessageStream::StartsWithHeader() const noexcept
{
    HeaderBytes header;
    return Peek(GetDescriptor(), header) == static_cast<ssize_t>(header.size()) && IsHeader(header);
}

MessageStream::Progress MessageStream::ProcessUnframed()
{
    Progress progress = Progress::Worked;
    int available = 0;
    // What sd-bus has read does not make the descriptor ready any more.
    while (progress == Progress::Worked && available == 0)
    {
        progress = ProcessCounted(available);
    }
    isDrained = progress == Progress::Idle;
    return progress;
}

MessageStream::Header MessageStream::PeekHeader()
{
    HeaderBytes header;
    const ssize_t size = Peek(GetDescriptor(), header);
    if (size == 0)
    {
        ThrowLost(ECONNRESET);
    }
    if (size < 0)
    {
        if (errno == EAGAIN || errno == EINTR)
        {
            return Header::None;
        }
        ThrowLost(errno);
    }
    if (size < static_cast<ssize_t>(header.size()))
    {
        RequireMoreToCome();
        return Header::Partial;
    }
    if (!IsHeader(header))
    {
        throw RscServiceException::Create(RscFault::InvalidResponse, "what came in is no message");
    }
    if (GetMessageBytes(header) > maximumBytes)
    {
        throw RscServiceException::Create(RscFault::InvalidResponse,
                                          "a message of {0} bytes came in, at most {1} are taken",
                                          GetMessageBytes(header), maximumBytes);
    }
    missingBytes = GetMessageBytes(header);
    return Header::Whole;
}

/// MSG_PEEK does not report end-of-file while unread bytes are left, so ask poll whether the peer has closed its side.
void MessageStream::RequireMoreToCome() const
{
    pollfd descriptor{GetDescriptor(), POLLRDHUP, 0};
    if (poll(&descriptor, 1, 0) > 0)
    {
        ThrowLost(ECONNRESET);
    }
}

MessageStream::Progress MessageStream::ProcessMessage()
{
    int available = 0;
    return ProcessCounted(available);
}

/// sd-bus drops a message that it cannot understand without a word, and takes in what follows whatever its length.
/// `available`: what lay in the socket before.
MessageStream::Progress MessageStream::ProcessCounted(int& available)
{
    uint64 queued = 0;
    // sd-bus reads only when nothing is left to be sent; only then do the bytes that are there count as read.
    const bool isRead = sd_bus_get_n_queued_write(bus.get(), &queued) >= 0 && queued == 0;
    if (ioctl(GetDescriptor(), FIONREAD, &available) != 0)
    {
        ThrowLost(errno);
    }
    const uint64 messagesBefore = messageCount;
    const Progress progress = ProcessBus();
    // No message became complete of all that was there.
    if (isRead && messageCount == messagesBefore)
    {
        missingBytes -= std::min(missingBytes, static_cast<uint64>(available));
        if (missingBytes == 0)
        {
            throw RscServiceException::Create(RscFault::InvalidResponse, "what came in cannot be understood");
        }
    }
    return progress;
}

MessageStream::Progress MessageStream::ProcessBus()
{
    const int result = sd_bus_process(bus.get(), nullptr);
    // The loss is noticed here at once. Otherwise sd-bus would tell each waiting call in turn that it has no answer.
    if (IsLoss(-result) || sd_bus_is_open(bus.get()) <= 0)
    {
        ThrowLost(IsLoss(-result) ? -result : ECONNRESET);
    }
    if (result < 0)
    {
        throw RscServiceException::Create(RscFault::InvalidResponse, "what came in cannot be understood: {0}",
                                          std::generic_category().message(-result));
    }
    return result > 0 ? Progress::Worked : Progress::Idle;
}

} // namespace Oxa::System::Rsc::Internal
