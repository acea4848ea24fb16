#include "Oxa/System/Commons/Exception.hpp"

#include <boost/stacktrace.hpp>

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

namespace
{

BasicString RethrowAndDescribe()
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

} // namespace

BasicString DescribeCurrentException() noexcept
{
    try
    {
        return RethrowAndDescribe();
    }
    catch (...)
    {
        return {};
    }
}

} // namespace Oxa::System::Commons
