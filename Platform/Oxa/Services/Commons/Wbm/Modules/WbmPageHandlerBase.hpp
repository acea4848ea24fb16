#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

namespace Oxa::Services::Commons::Wbm::Modules
{

/// How a user sees the entry of a page.
enum class VisibilityAttribute : uint8
{
    Visible = 0,
    /// Shown, but cannot be opened now.
    Disabled = 1,
    Hidden = 2
};

/// Answers for one page of the web interface. Safe from any thread.
class OXA_EXPORT WbmPageHandlerBase
{
public:
    WbmPageHandlerBase(const WbmPageHandlerBase&) = delete;
    WbmPageHandlerBase& operator=(const WbmPageHandlerBase&) = delete;
    virtual ~WbmPageHandlerBase();

    /// By default: hidden from users without permission, disabled while the page is not available, else visible.
    [[nodiscard]] virtual VisibilityAttribute GetVisibilityAttribute(const System::Um::SecurityToken& token);

    /// By default always.
    [[nodiscard]] virtual bool IsAvailable() const;

    /// By default everybody who is logged in.
    [[nodiscard]] virtual bool HasPermissions(const System::Um::SecurityToken& token) const;

protected:
    WbmPageHandlerBase();
};

} // namespace Oxa::Services::Commons::Wbm::Modules
