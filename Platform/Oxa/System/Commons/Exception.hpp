#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <exception>
#include <memory>
#include <string_view>

namespace Oxa::System::Commons
{

/// The root of the platform's exceptions: a text for people and the stack of the place that created it.
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

/// What there is to tell about the exception that is being handled: its text, or that its type is unknown. Empty
/// when there is no memory even for that. Requires: called inside a catch block.
[[nodiscard]] OXA_EXPORT BasicString DescribeCurrentException() noexcept;

} // namespace Oxa::System::Commons
