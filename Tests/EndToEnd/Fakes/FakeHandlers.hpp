#pragma once

#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

namespace Oxa::Tests::EndToEnd
{

/// Of a type that is unknown outside this library.
struct PrivateFault
{
    virtual ~PrivateFault() = default;
};

/// Tells what it was asked, fails in many ways, or hangs until the test lets it go. Also the page's handler.
class FakeHandler : public Services::Commons::Wbm::Modules::WbmRequestHandlerBase,
                    public Services::Commons::Wbm::Modules::WbmPageHandlerBase
{
public:
    FakeHandler();

    [[nodiscard]] bool IsAvailable() const override;
    [[nodiscard]] bool HasPermissions(const System::Um::SecurityToken& token) const override;

private:
    using WbmRequest = Services::Commons::Wbm::WbmRequest;
    using WbmResponse = Services::Commons::Wbm::WbmResponse;

    /// The query and the body.
    [[nodiscard]] WbmResponse Echo(const WbmRequest& request) const;
    /// The body.
    [[nodiscard]] WbmResponse Reply(const WbmRequest& request) const;
    /// Creates the file that the query names and hangs until it is gone.
    [[nodiscard]] WbmResponse Hang(const WbmRequest& request) const;
    /// As many bytes as the query says.
    [[nodiscard]] WbmResponse Fill(const WbmRequest& request) const;
    /// Ends the process by SIGABRT.
    [[nodiscard]] WbmResponse Crash(const WbmRequest& request) const;
    [[nodiscard]] WbmResponse Throw(const WbmRequest& request) const;
    [[nodiscard]] WbmResponse ThrowPrivately(const WbmRequest& request) const;
    [[nodiscard]] WbmResponse LoseService(const WbmRequest& request) const;
};

/// Only for users who may execute.
class FakeControlHandler final : public FakeHandler
{
public:
    [[nodiscard]] bool HasPermissions(const System::Um::SecurityToken& token) const override;
};

} // namespace Oxa::Tests::EndToEnd
