#include "Oxa/System/Commons/ProgramMain.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Diagnostics/BoundedWrite.hpp"
#include "Oxa/System/Commons/Diagnostics/CrashReport.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <system_error>

namespace Oxa::System::Commons
{

namespace
{

/// For the log and for a reader of the output that does not read.
constexpr std::chrono::milliseconds maximumOutputDelay{1000};

int Fail(int status, const BasicString& cause)
{
    Diagnostics::WriteLastLine("<3>", {cause}, maximumOutputDelay);
    return status;
}

/// Only of segments that cannot have been written to: other pages exist nowhere else.
int ReleaseSegments(dl_phdr_info* object, std::size_t /*size*/, void* /*context*/)
{
    const auto pageBytes = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    for (int index = 0; index < object->dlpi_phnum; ++index)
    {
        const auto& segment = object->dlpi_phdr[index];
        if (segment.p_type != PT_LOAD || (segment.p_flags & PF_W) != 0)
        {
            continue;
        }
        const std::uintptr_t begin = (object->dlpi_addr + segment.p_vaddr) & ~(pageBytes - 1);
        const std::uintptr_t end = object->dlpi_addr + segment.p_vaddr + segment.p_memsz;
        // Fails for the kernel's own object, which has no file. Nothing depends on it.
        (void)madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED); // NOLINT
    }
    return 0;
}

} // namespace

int RunProgram(const char* programName, const std::function<int(AppDomain&)>& run)
{
    try
    {
        std::signal(SIGPIPE, SIG_IGN);
        Diagnostics::InstallCrashReport();
        AppDomain appDomain(programName);
        Singleton<AppDomain>::TrySetInstance(appDomain);
        const std::unique_ptr<AppDomain, void (*)(AppDomain*)> domainOfProcess(
            &appDomain, [](AppDomain* /*appDomain*/) { Singleton<AppDomain>::ClearInstance(); });
        return run(appDomain);
    }
    catch (const XmlException& exception)
    {
        return Fail(configurationFaultStatus, exception.GetMessageWithPosition());
    }
    catch (const ConfigurationException& exception)
    {
        return Fail(configurationFaultStatus, exception.what());
    }
    catch (const TemporaryException& exception)
    {
        return Fail(temporaryFaultStatus, exception.what());
    }
    catch (...)
    {
        return Fail(EXIT_FAILURE, DescribeCurrentException());
    }
}

BasicString FindVariableMistake(const BasicString& text)
{
    const std::size_t equals = text.find('=');
    return equals == 0 || equals == BasicString::npos ? "'" + text + "' is not NAME=VALUE" : BasicString();
}

ProgramVariables SplitVariables(const std::vector<BasicString>& texts)
{
    ProgramVariables variables;
    for (const BasicString& text : texts)
    {
        const std::size_t equals = text.find('=');
        variables.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    }
    return variables;
}

void SetProgramVariables(AppDomain& appDomain, const BasicString& configurationPath, const ProgramVariables& variables)
{
    using namespace std::filesystem;
    const path programFolder = read_symlink("/proc/self/exe").parent_path();
    appDomain.SetVariable("OXA_CONFIG", absolute(configurationPath).parent_path().string());
    appDomain.SetVariable("OXA_LIBRARIES", (programFolder.parent_path() / "lib").string());
    for (const auto& [name, value] : variables)
    {
        appDomain.SetVariable(name, value);
    }
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
        // If an earlier write failed, its cause is no longer known.
        const BasicString cause = errno != 0 ? ": " + std::generic_category().message(errno) : BasicString();
        throw InvalidOperationException::Create("cannot write to standard output{0}", cause);
    }
}

void ReleaseUnusedMemory() noexcept
{
    malloc_trim(0);
    dl_iterate_phdr(&ReleaseSegments, nullptr);
}

} // namespace Oxa::System::Commons
