#include "Host/AuditCommands.hpp"

#include "Host/Audit/AuditStore.hpp"
#include "Host/Audit/UtcTime.hpp"
#include "Host/CommandLine.hpp"
#include "Host/CommandRecord.hpp"
#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <vector>

namespace Oxa::Host
{

using Audit::AuditStore;

namespace
{

Audit::AuditFilter MakeFilter(const CommandLine& commandLine)
{
    Audit::AuditFilter filter;
    filter.user = commandLine.auditUserName;
    filter.action = commandLine.auditAction;
    filter.from = Audit::ParseUtcTime(commandLine.auditFrom).value_or(filter.from);
    filter.to = Audit::ParseUtcTime(commandLine.auditTo).value_or(filter.to);
    filter.limit = commandLine.auditLimit;
    return filter;
}

int ListRows(AuditStore& store, const Audit::AuditFilter& filter)
{
    std::vector<Audit::AuditRow> rows = store.List(filter);
    std::ranges::reverse(rows);
    for (const Audit::AuditRow& row : rows)
    {
        std::cout << FormatAuditRow(row) << '\n';
    }
    return EXIT_SUCCESS;
}

/// The last hash lets an auditor who wrote down an earlier one see that the trail has only become longer.
int VerifyRows(AuditStore& store, const BasicString& path)
{
    const Audit::AuditVerdict verdict = store.Verify();
    if (!verdict.fault.empty())
    {
        std::cerr << "oxa-wbm: the audit trail '" << path << "' is broken: " << verdict.fault << '\n';
        return EXIT_FAILURE;
    }
    std::cout << "rows " << verdict.head.firstSequence << " to " << verdict.head.lastSequence
              << " are in order; the last hash is " << (verdict.head.lastHash.empty() ? "-" : verdict.head.lastHash)
              << '\n';
    return EXIT_SUCCESS;
}

} // namespace

int RunAuditCommand(const CommandLine& commandLine, const Configuration::HostConfiguration& configuration)
{
    const BasicString& path = configuration.audit.databasePath;
    BecomeOwner(std::filesystem::absolute(path).parent_path());
    return System::Commons::UseConfigured(
        [&]
        {
            AuditStore store(path);
            return commandLine.action == CommandLine::Action::VerifyAudit ? VerifyRows(store, path)
                                                                          : ListRows(store, MakeFilter(commandLine));
        });
}

} // namespace Oxa::Host
