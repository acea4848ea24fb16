#pragma once

#include "Oxa/System/Commons/Exception.hpp"

namespace Oxa::System::Commons
{

/// An object is not of the type that was asked for.
class OXA_EXPORT InvalidCastException final : public Exception
{
public:
    using Exception::Exception;
    InvalidCastException(const InvalidCastException&) noexcept;
    InvalidCastException& operator=(const InvalidCastException&) noexcept;
    ~InvalidCastException() override;

    /// The text is the template with its placeholders {0}, {1}, … filled, and nothing else.
    template <class... Args>
    [[nodiscard]] static InvalidCastException Create(std::string_view messageTemplate, const Args&... args)
    {
        return InvalidCastException(Text::Format(messageTemplate, args...));
    }
};

} // namespace Oxa::System::Commons
