#pragma once

#include "Host/Http/RequestStrand.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <memory>

namespace Oxa::Host::Configuration
{
struct AuditConfiguration;
}

namespace Oxa::Host::Audit
{

struct AuditFilter;

/// Sends rows of the audit trail to clients, in pages, the newest first. Threads: the event loop's.
class AuditRoute final
{
public:
    static constexpr std::size_t maximumLimit = 200;

    AuditRoute(const Configuration::AuditConfiguration& configuration, std::shared_ptr<Http::RequestStrand> strand);

    /// The parameters of the query: before, limit, user, action, from, to.
    [[nodiscard]] Http::Handling List(const std::shared_ptr<Http::IHttpExchange>& exchange) const;

private:
    void SendRows(Http::IHttpExchange& exchange, const AuditFilter& filter) const;

    const BasicString path;
    const std::shared_ptr<Http::RequestStrand> strand;
};

} // namespace Oxa::Host::Audit
