#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

namespace Oxa::Services::Commons::Wbm::Modules
{

/// How the entry of a page is shown to a user.
enum class VisibilityAttribute : uint8
{
    Visible = 0,
    /// Shown, but cannot be opened now.
    Disabled = 1,
    Hidden = 2
};

/// Decides who sees one page of the web interface. Safe from any thread.
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

    /// By default every user who is logged in.
    [[nodiscard]] virtual bool HasPermissions(const System::Um::SecurityToken& token) const;

protected:
    WbmPageHandlerBase();
};

} // namespace Oxa::Services::Commons::Wbm::Modules
