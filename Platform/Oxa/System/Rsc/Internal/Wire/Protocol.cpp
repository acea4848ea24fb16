#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/NotSupportedException.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <algorithm>
#include <iterator>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::ArgumentException;
using System::Commons::Exception;
using System::Commons::InvalidOperationException;
using System::Commons::NotSupportedException;
namespace Text = System::Commons::Text;

namespace
{

constexpr const char* notAvailableErrorName = "Oxa.System.Rsc.Error.NotAvailable";
constexpr const char* argumentErrorName = "Oxa.System.Commons.ArgumentException";
constexpr const char* operationErrorName = "Oxa.System.Commons.InvalidOperationException";
constexpr const char* supportErrorName = "Oxa.System.Commons.NotSupportedException";
constexpr const char* otherErrorName = "Oxa.System.Commons.Exception";

struct FaultName
{
    std::string_view name;
    RscFault fault;
};

constexpr FaultName faultNames[] = {
    {notAvailableErrorName, RscFault::NotAvailable},
    {SD_BUS_ERROR_SERVICE_UNKNOWN, RscFault::NotAvailable},
    {SD_BUS_ERROR_NAME_HAS_NO_OWNER, RscFault::NotAvailable},
    {SD_BUS_ERROR_UNKNOWN_OBJECT, RscFault::NotAvailable},
    {SD_BUS_ERROR_UNKNOWN_INTERFACE, RscFault::NotAvailable},
    {SD_BUS_ERROR_UNKNOWN_METHOD, RscFault::NotAvailable},
    {refusedErrorName, RscFault::Refused},
    {SD_BUS_ERROR_ACCESS_DENIED, RscFault::Refused},
    {SD_BUS_ERROR_LIMITS_EXCEEDED, RscFault::Refused},
    {SD_BUS_ERROR_NO_REPLY, RscFault::TimedOut},
    {SD_BUS_ERROR_TIMEOUT, RscFault::TimedOut},
    {SD_BUS_ERROR_DISCONNECTED, RscFault::ConnectionLost},
};

const char* GetErrorName(const std::exception& exception) noexcept
{
    if (const auto* const fault = dynamic_cast<const RscServiceException*>(&exception))
    {
        // Inside the server, InvalidResponse means that the arguments of a call could not be read.
        return fault->GetFault() == RscFault::NotAvailable      ? notAvailableErrorName
               : fault->GetFault() == RscFault::InvalidResponse ? SD_BUS_ERROR_INVALID_ARGS
                                                                : operationErrorName;
    }
    return dynamic_cast<const ArgumentException*>(&exception) != nullptr           ? argumentErrorName
           : dynamic_cast<const InvalidOperationException*>(&exception) != nullptr ? operationErrorName
           : dynamic_cast<const NotSupportedException*>(&exception) != nullptr     ? supportErrorName
                                                                                   : otherErrorName;
}

} // namespace

char GetBusType(RscType type) noexcept
{
    switch (type)
    {
    case RscType::Uint8:
        return SD_BUS_TYPE_BYTE;
    case RscType::Int16:
        return SD_BUS_TYPE_INT16;
    case RscType::Char16:
    case RscType::Uint16:
        return SD_BUS_TYPE_UINT16;
    case RscType::Int32:
        return SD_BUS_TYPE_INT32;
    case RscType::Uint32:
    case RscType::Time32:
    case RscType::Date32:
    case RscType::DateAndTime32:
    case RscType::TimeOfDay32:
        return SD_BUS_TYPE_UINT32;
    case RscType::Int64:
        return SD_BUS_TYPE_INT64;
    case RscType::Uint64:
    case RscType::DateTime:
    case RscType::Time64:
    case RscType::Date64:
    case RscType::DateAndTime64:
    case RscType::TimeOfDay64:
        return SD_BUS_TYPE_UINT64;
    case RscType::Real64:
        return SD_BUS_TYPE_DOUBLE;
    default:
        return '\0';
    }
}

BasicString GetObjectPath(std::string_view providerName)
{
    BasicString path = '/' + BasicString(providerName);
    std::replace(path.begin(), path.end(), '.', '/');
    if (sd_bus_object_path_is_valid(path.c_str()) <= 0)
    {
        throw ArgumentException::Create("providerName", providerName, "It cannot be a path of D-Bus");
    }
    return path;
}

BasicString GetBusInterfaceName(std::string_view interfaceName)
{
    constexpr std::string_view separator = "::";
    BasicString name(interfaceName);
    for (auto found = name.find(separator); found != BasicString::npos; found = name.find(separator, found))
    {
        name.replace(found, separator.size(), 1, '.');
    }
    if (sd_bus_interface_name_is_valid(name.c_str()) <= 0)
    {
        throw ArgumentException::Create("interfaceName", interfaceName, "It cannot be an interface of D-Bus");
    }
    return name;
}

BusError DescribeException(const std::exception_ptr& exception)
{
    try
    {
        std::rethrow_exception(exception);
    }
    catch (const std::exception& caught)
    {
        return {GetErrorName(caught), Text::ReplaceInvalidUtf8(caught.what())};
    }
    catch (...)
    {
        return {otherErrorName, "an exception of unknown type"};
    }
}

void ThrowBusError(const sd_bus_error& error)
{
    const std::string_view name = error.name != nullptr ? error.name : "";
    const BasicString message = Text::EscapeControlCharacters(error.message != nullptr ? error.message : "no cause");
    const auto* const known = std::find_if(std::begin(faultNames), std::end(faultNames),
                                           [name](const auto& each) { return each.name == name; });
    if (known != std::end(faultNames))
    {
        throw RscServiceException(known->fault, message);
    }
    if (name == argumentErrorName)
    {
        throw ArgumentException(message);
    }
    if (name == operationErrorName)
    {
        throw InvalidOperationException(message);
    }
    if (name == supportErrorName)
    {
        throw NotSupportedException(message);
    }
    if (name == otherErrorName)
    {
        throw Exception(message);
    }
    throw RscServiceException::Create(RscFault::InvalidResponse, "{0} ({1})", message,
                                      Text::EscapeControlCharacters(name));
}

} // namespace Oxa::System::Rsc::Internal
