#pragma once

#include "Oxa/System/Commons/Exception.hpp"

namespace Oxa::System::Commons
{

/// A program cannot work with what its configuration says, although the document itself is in order: for instance the
/// log file that it names cannot be opened. The text says what, and why.
class OXA_EXPORT ConfigurationException final : public Exception
{
public:
    using Exception::Exception;
    ConfigurationException(const ConfigurationException&) noexcept;
    ConfigurationException& operator=(const ConfigurationException&) noexcept;
    ~ConfigurationException() override;

    /// The text is the template with its placeholders {0}, {1}, … filled, and nothing else.
    template <class... Args>
    [[nodiscard]] static ConfigurationException Create(std::string_view messageTemplate, const Args&... args)
    {
        return ConfigurationException(Text::Format(messageTemplate, args...));
    }
};

} // namespace Oxa::System::Commons
