#include "Oxa/Device/Interface/Services/AccessErrorCode.hpp"

#include <ostream>
#include <string>

namespace Oxa::Device::Interface::Services
{

std::ostream& operator<<(std::ostream& stream, AccessErrorCode code)
{
    switch (code)
    {
    case AccessErrorCode::None:
        return stream << "success";
    case AccessErrorCode::NotSupported:
        return stream << "not supported";
    case AccessErrorCode::Busy:
        return stream << "busy";
    case AccessErrorCode::AccessDenied:
        return stream << "access denied";
    case AccessErrorCode::InvalidArgument:
        return stream << "invalid argument";
    case AccessErrorCode::TimedOut:
        return stream << "timed out";
    case AccessErrorCode::NotAvailable:
        return stream << "not available";
    case AccessErrorCode::DeviceFault:
        return stream << "device fault";
    }
    return stream << "unknown error " + std::to_string(static_cast<unsigned>(code));
}

} // namespace Oxa::Device::Interface::Services
