#include "Oxa/System/Commons/ProgramMain.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Diagnostics/BoundedWrite.hpp"
#include "Oxa/System/Commons/Diagnostics/CrashReport.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <system_error>

namespace Oxa::System::Commons
{

namespace
{

/// Makes the domain the process's one as long as it lives.
class DomainOfProcess final
{
public:
    explicit DomainOfProcess(AppDomain& appDomain)
    {
        Singleton<AppDomain>::TrySetInstance(appDomain);
    }

    DomainOfProcess(const DomainOfProcess&) = delete;
    DomainOfProcess& operator=(const DomainOfProcess&) = delete;

    ~DomainOfProcess()
    {
        Singleton<AppDomain>::ClearInstance();
    }
};

/// How long a reader that stands still may delay the program.
constexpr std::chrono::milliseconds maximumOutputDelay{1000};

/// Behind all that was logged before.
void ReportFailure(const char* programName, const BasicString& cause)
{
    Diagnostics::Logging::LogManager::WaitUntilWritten(maximumOutputDelay);
    const char* const priority = Diagnostics::IsJournalStream() ? "<3>" : "";
    Diagnostics::WriteBounded(STDERR_FILENO, BasicString(priority) + programName + ": " + cause + '\n',
                              maximumOutputDelay);
}

} // namespace

int RunProgram(const char* programName, const std::function<int(AppDomain&)>& run)
{
    try
    {
        std::signal(SIGPIPE, SIG_IGN);
        Diagnostics::InstallCrashReport();
        AppDomain appDomain(programName);
        const DomainOfProcess domain(appDomain);
        return run(appDomain);
    }
    catch (const XmlException& exception)
    {
        ReportFailure(programName, exception.GetMessageWithPosition());
        return configurationFaultStatus;
    }
    catch (const ConfigurationException& exception)
    {
        ReportFailure(programName, exception.what());
        return configurationFaultStatus;
    }
    catch (const TemporaryException& exception)
    {
        ReportFailure(programName, exception.what());
        return temporaryFaultStatus;
    }
    catch (...)
    {
        ReportFailure(programName, DescribeCurrentException());
    }
    return EXIT_FAILURE;
}

void PrintStatus(std::string_view text) noexcept
{
    Diagnostics::WriteBounded(STDOUT_FILENO, text, maximumOutputDelay);
}

void FlushOutput()
{
    errno = 0;
    std::cout.flush();
    if (!std::cout)
    {
        // A write before this one may have failed; its cause is no longer known.
        const BasicString cause = errno != 0 ? ": " + std::generic_category().message(errno) : BasicString();
        throw InvalidOperationException::Create("cannot write to standard output{0}", cause);
    }
}

} // namespace Oxa::System::Commons
