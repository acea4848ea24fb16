#pragma once

#include "Oxa/System/Commons/Exception.hpp"

namespace Oxa::System::Commons
{

/// An operation was called in a state that does not allow it.
class OXA_EXPORT InvalidOperationException final : public Exception
{
public:
    using Exception::Exception;
    InvalidOperationException(const InvalidOperationException&) noexcept;
    InvalidOperationException& operator=(const InvalidOperationException&) noexcept;
    ~InvalidOperationException() override;

    /// The text is the template with its placeholders {0}, {1}, … filled, and nothing else.
    template <class... Args>
    [[nodiscard]] static InvalidOperationException Create(std::string_view messageTemplate, const Args&... args)
    {
        return InvalidOperationException(Text::Format(messageTemplate, args...));
    }
};

} // namespace Oxa::System::Commons
