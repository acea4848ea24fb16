#pragma once

#include "Oxa/System/Commons/Exception.hpp"

namespace Oxa::System::Commons
{

/// An operation, or a value of an operation's argument, that this implementation does not offer.
class OXA_EXPORT NotSupportedException final : public Exception
{
public:
    using Exception::Exception;
    NotSupportedException(const NotSupportedException&) noexcept;
    NotSupportedException& operator=(const NotSupportedException&) noexcept;
    ~NotSupportedException() override;

    /// The text is the template with its placeholders {0}, {1}, … filled, and nothing else.
    template <class... Args>
    [[nodiscard]] static NotSupportedException Create(std::string_view messageTemplate, const Args&... args)
    {
        return NotSupportedException(Text::Format(messageTemplate, args...));
    }
};

} // namespace Oxa::System::Commons
