#pragma once

#include "Oxa/System/Commons/Exception.hpp"

namespace Oxa::System::Commons::Json
{

/// A text is no JSON document, or a larger or deeper one than the reader takes. The message names offset and cause.
class OXA_EXPORT JsonException final : public Exception
{
public:
    using Exception::Exception;
    JsonException(const JsonException&) noexcept;
    JsonException& operator=(const JsonException&) noexcept;
    ~JsonException() override;

    template <class... Args>
    [[nodiscard]] static JsonException Create(std::string_view messageTemplate, const Args&... args)
    {
        return JsonException(Text::Format(messageTemplate, args...));
    }
};

} // namespace Oxa::System::Commons::Json
