#include "Oxa/System/Commons/ProgramMain.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/TemporaryException.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
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

} // namespace

int RunProgram(const char* programName, const std::function<int(AppDomain&)>& run)
{
    try
    {
        std::signal(SIGPIPE, SIG_IGN);
        AppDomain appDomain(programName);
        const DomainOfProcess domain(appDomain);
        return run(appDomain);
    }
    catch (const XmlException& exception)
    {
        const BasicString& position = exception.GetReadingPosition();
        std::cerr << programName << ": " << position << (position.empty() ? "" : ": ") << exception.what() << std::endl;
        return configurationFaultStatus;
    }
    catch (const ConfigurationException& exception)
    {
        std::cerr << programName << ": " << exception.what() << std::endl;
        return configurationFaultStatus;
    }
    catch (const TemporaryException& exception)
    {
        std::cerr << programName << ": " << exception.what() << std::endl;
        return temporaryFaultStatus;
    }
    catch (const std::exception& exception)
    {
        std::cerr << programName << ": " << exception.what() << std::endl;
    }
    catch (...)
    {
        std::cerr << programName << ": an exception of an unknown type" << std::endl;
    }
    return EXIT_FAILURE;
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
