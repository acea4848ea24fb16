#include "Oxa/System/Commons/Exception.hpp"

#include <boost/stacktrace.hpp>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>
#include <utility>

namespace Oxa::System::Commons
{

struct Exception::Content
{
    BasicString message;
    boost::stacktrace::stacktrace stackTrace;
};

namespace
{

// Neither this constructor nor the capture itself; deep enough for a request's whole way through host and module.
constexpr std::size_t skippedFrames = 2;
constexpr std::size_t maximumFrames = 32;

} // namespace

Exception::Exception(BasicString message)
    : content(std::make_shared<const Content>(
          Content{std::move(message), boost::stacktrace::stacktrace(skippedFrames, maximumFrames)}))
{
}

Exception::Exception(const Exception&) noexcept = default;

Exception& Exception::operator=(const Exception&) noexcept = default;

Exception::~Exception() = default;

const char* Exception::what() const noexcept
{
    return content->message.c_str();
}

const BasicString& Exception::GetMessage() const noexcept
{
    return content->message;
}

BasicString Exception::GetStackTrace() const
{
    return boost::stacktrace::to_string(content->stackTrace);
}

const char* const ArgumentException::defaultMessage1 = "The argument '{0}' is not valid.";

const char* const ArgumentException::defaultMessage2 = "The argument '{0}' with the value '{1}' is not valid: {2}";

ArgumentException::~ArgumentException() = default;

InvalidCastException::~InvalidCastException() = default;

InvalidOperationException::~InvalidOperationException() = default;

NotSupportedException::~NotSupportedException() = default;

ConfigurationException::~ConfigurationException() = default;

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

BasicString DescribeCurrentException() noexcept
{
    try
    {
        try
        {
            throw;
        }
        catch (const std::exception& exception)
        {
            return exception.what();
        }
        catch (...)
        {
            return "an exception of unknown type";
        }
    }
    catch (...)
    {
        return {};
    }
}

} // namespace Oxa::System::Commons
