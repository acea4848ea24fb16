#include "Oxa/System/Commons/TemporaryException.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>

namespace Oxa::System::Commons
{

TemporaryException::TemporaryException(const TemporaryException&) noexcept = default;

TemporaryException& TemporaryException::operator=(const TemporaryException&) noexcept = default;

TemporaryException::~TemporaryException() = default;

bool IsTemporaryError(int error) noexcept
{
    constexpr int errors[] = {EAGAIN, EBUSY,  EDQUOT, EINTR, EIO,    EMFILE,   ENFILE,
                              ENOLCK, ENOMEM, ENOSPC, EROFS, ESTALE, ETIMEDOUT};
    return std::find(std::begin(errors), std::end(errors), error) != std::end(errors);
}

void ThrowErrno(const BasicString& subject, int error)
{
    const BasicString text = subject + ": " + std::generic_category().message(error);
    if (IsTemporaryError(error))
    {
        throw TemporaryException(text);
    }
    throw InvalidOperationException(text);
}

} // namespace Oxa::System::Commons
