#pragma once

#include "Oxa/System/Commons/Exception.hpp"

namespace Oxa::System::Commons
{

/// The machine refuses for a cause that may pass without a change of the configuration: a full disk, a read-only file
/// system, an I/O error, want of memory or descriptors. It is worth trying again.
class OXA_EXPORT TemporaryException final : public Exception
{
public:
    using Exception::Exception;
    TemporaryException(const TemporaryException&) noexcept;
    TemporaryException& operator=(const TemporaryException&) noexcept;
    ~TemporaryException() override;
};

/// Whether this errno is such a cause.
[[nodiscard]] OXA_EXPORT bool IsTemporaryError(int error) noexcept;

/// Throws "{subject}: {text of the errno}", as TemporaryException or else as InvalidOperationException.
[[noreturn]] OXA_EXPORT void ThrowErrno(const BasicString& subject, int error);

} // namespace Oxa::System::Commons
