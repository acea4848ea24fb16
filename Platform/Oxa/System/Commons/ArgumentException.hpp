#pragma once

#include "Oxa/System/Commons/Exception.hpp"

namespace Oxa::System::Commons
{

/// An argument of a call does not meet what the callee requires.
class OXA_EXPORT ArgumentException final : public Exception
{
public:
    /// {0} parameter name.
    static const char* const defaultMessage1;
    /// {0} parameter name, {1} value, {2} what is wrong with it.
    static const char* const defaultMessage2;

    using Exception::Exception;
    ArgumentException(const ArgumentException&) noexcept;
    ArgumentException& operator=(const ArgumentException&) noexcept;
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

} // namespace Oxa::System::Commons
