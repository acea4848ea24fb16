#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <exception>
#include <memory>
#include <string_view>

namespace Oxa::System::Commons
{

/// The root of the platform's exceptions: a text for people and the stack of the code that created it.
/// Copying never throws. Safe to read from any thread.
class OXA_EXPORT Exception : public std::exception
{
public:
    explicit Exception(BasicString message);
    Exception(const Exception&) noexcept;
    Exception& operator=(const Exception&) noexcept;
    ~Exception() override;

    [[nodiscard]] const char* what() const noexcept override;

    [[nodiscard]] const BasicString& GetMessage() const noexcept;

    /// One line a frame, innermost first. The frames are captured when the exception is created, the symbols are looked
    /// up here.
    [[nodiscard]] BasicString GetStackTrace() const;

private:
    struct Content;
    std::shared_ptr<const Content> content;
};

/// The base of exception classes whose text is filled from a template. Each derived class defines its destructor in a
/// source file, so that its type information lives in the platform's library and not in a module that may be unloaded.
template <class T>
class OXA_EXPORT FormattedException : public Exception
{
public:
    using Exception::Exception;

    /// The text is the template with its placeholders {0}, {1}, … filled, and nothing else.
    template <class... Args>
    [[nodiscard]] static T Create(std::string_view messageTemplate, const Args&... args)
    {
        return T(Text::Format(messageTemplate, args...));
    }
};

/// An argument of a call does not meet what the callee requires.
class OXA_EXPORT ArgumentException final : public Exception
{
public:
    /// {0} parameter name.
    static const char* const defaultMessage1;
    /// {0} parameter name, {1} value, {2} what is wrong with it.
    static const char* const defaultMessage2;

    using Exception::Exception;
    ~ArgumentException() override;

    /// The text is `defaultMessage2`, filled. `value` is anything that can be formatted; a pointer prints its address.
    template <class T>
    [[nodiscard]] static ArgumentException Create(std::string_view parameterName, const T& value,
                                                  std::string_view message)
    {
        return ArgumentException(Text::Format(defaultMessage2, parameterName, value, message));
    }

    /// The text is `defaultMessage1`, filled.
    [[nodiscard]] static ArgumentException CreateDefault(std::string_view parameterName)
    {
        return ArgumentException(Text::Format(defaultMessage1, parameterName));
    }
};

/// An object is not of the requested type.
class OXA_EXPORT InvalidCastException final : public FormattedException<InvalidCastException>
{
public:
    using FormattedException::FormattedException;
    ~InvalidCastException() override;
};

/// An operation was called in a state that does not allow it.
class OXA_EXPORT InvalidOperationException final : public FormattedException<InvalidOperationException>
{
public:
    using FormattedException::FormattedException;
    ~InvalidOperationException() override;
};

/// An operation, or a value of an operation's argument, that this implementation does not offer.
class OXA_EXPORT NotSupportedException final : public FormattedException<NotSupportedException>
{
public:
    using FormattedException::FormattedException;
    ~NotSupportedException() override;
};

/// The configuration document is in order, but the program cannot work with a value in it: for instance the log file
/// that it names cannot be opened. The text names the subject and the cause.
class OXA_EXPORT ConfigurationException final : public FormattedException<ConfigurationException>
{
public:
    using FormattedException::FormattedException;
    ~ConfigurationException() override;
};

/// The machine refuses for a cause that may pass without a change of the configuration: a full disk, a read-only file
/// system, an I/O error, a lack of memory or descriptors. Trying again later may succeed.
class OXA_EXPORT TemporaryException final : public Exception
{
public:
    using Exception::Exception;
    ~TemporaryException() override;
};

/// Whether this errno is such a cause.
[[nodiscard]] OXA_EXPORT bool IsTemporaryError(int error) noexcept;

/// Throws "{subject}: {text of the errno}", as TemporaryException or else as InvalidOperationException.
[[noreturn]] OXA_EXPORT void ThrowErrno(const BasicString& subject, int error);

/// The text of the exception that is being handled, or that its type is unknown. Empty when memory is short.
/// Requires: called inside a catch block.
[[nodiscard]] OXA_EXPORT BasicString DescribeCurrentException() noexcept;

} // namespace Oxa::System::Commons
