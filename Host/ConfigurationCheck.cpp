#include "Host/ConfigurationCheck.hpp"

#include "Host/Audit/AuditStore.hpp"
#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Modules/HostedModule.hpp"
#include "Host/Modules/ModuleManifest.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Host/ResourceLimits.hpp"
#include "Host/StateFolder.hpp"
#include "Host/StaticFiles.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Host/Tls/Encryption.hpp"
#include "Oxa/System/Acf/ComponentManager.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <boost/asio/ip/tcp.hpp>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <system_error>
#include <vector>

namespace Oxa::Host
{

using Configuration::HostConfiguration;
using System::Commons::Diagnostics::Logging::LogConfiguration;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Diagnostics::Logging::LogManager;
using System::Commons::Text::Format;

namespace
{

/// Writes faults, also those that components and modules log, behind the position in the configuration that is checked.
struct CheckReport final : System::Commons::Diagnostics::Logging::ILogSink
{
    void AddFault(std::string_view message)
    {
        Write(LogLevel::Error, {}, message);
    }

    void Write(LogLevel level, std::string_view /*typeName*/, std::string_view message) override
    {
        // Warnings concern services, which do not run during a check.
        if (level <= LogLevel::Error)
        {
            hasFault = true;
            std::cerr << position << ": " << message << std::endl;
        }
    }

    BasicString position;
    bool hasFault = false;
};

/// What the function throws is a fault.
template <class Function>
void Check(CheckReport& report, Function function)
{
    try
    {
        function();
    }
    catch (const System::Commons::Exception& exception)
    {
        report.AddFault(exception.GetMessage());
    }
}

void CheckAddress(CheckReport& report, const Configuration::HttpConfiguration& http)
{
    report.position = http.position;
    // Not the configured port: a server may be running.
    const boost::asio::ip::tcp::endpoint endpoint(boost::asio::ip::make_address(http.address), 0);
    boost::asio::io_context context;
    try
    {
        const boost::asio::ip::tcp::acceptor acceptor(context, endpoint);
    }
    catch (const boost::system::system_error& error)
    {
        report.AddFault(Format("cannot listen at '{0}': {1}", http.address, error.code().message()));
    }
}

void CheckCertificates(CheckReport& report, const Configuration::HttpConfiguration& http)
{
    report.position = http.position;
    if (!http.isSecure || !std::filesystem::exists(http.certificatesPath))
    {
        return;
    }
    try
    {
        System::Nm::NotificationManager notifications;
        std::vector<BasicString> faults;
        (void)Tls::OpenCertificateStore(http, notifications)->Find(faults);
        for (const BasicString& fault : faults)
        {
            report.AddFault(fault);
        }
    }
    catch (const System::Commons::Exception& exception)
    {
        report.AddFault(exception.GetMessage());
    }
}

void CheckResources(CheckReport& report, Configuration::HttpConfiguration http)
{
    report.position = http.position;
    try
    {
        for (const BasicString& message :
             FitConnections(http, ReadResourceLimits(GetNeededResources(http).descriptors)))
        {
            report.AddFault(message);
        }
    }
    catch (const System::Commons::Exception& exception)
    {
        report.AddFault(exception.GetMessage());
    }
}

/// An existing file, or the folder in which it will be created.
void CheckWritable(CheckReport& report, const BasicString& path)
{
    const std::filesystem::path absolute = std::filesystem::absolute(path);
    const std::filesystem::path existing = std::filesystem::exists(absolute) ? absolute : absolute.parent_path();
    if (access(existing.c_str(), W_OK) != 0)
    {
        report.AddFault(Format("cannot write '{0}': {1}", path, std::generic_category().message(errno)));
    }
    else if (std::filesystem::is_directory(absolute))
    {
        report.AddFault(Format("cannot write '{0}': it is a folder", path));
    }
}

void CheckUsers(CheckReport& report, const HostConfiguration& configuration, const StateFolder& stateFolder)
{
    report.position = configuration.usersPosition;
    const std::filesystem::path path = std::filesystem::absolute(configuration.usersDatabasePath);
    if (std::filesystem::exists(stateFolder.GetPath()))
    {
        Check(report, [&stateFolder] { stateFolder.Check(); });
    }
    // The first start creates the state folder and the database in it.
    if (!std::filesystem::exists(path))
    {
        if (path.parent_path() != std::filesystem::absolute(stateFolder.GetPath()))
        {
            CheckWritable(report, configuration.usersDatabasePath);
        }
        return;
    }
    Check(report,
          [&path = configuration.usersDatabasePath]
          {
              CheckUserDatabase(path);
              const System::Um::UserManager users(path);
          });
}

void CheckPage(CheckReport& report, const HostConfiguration& configuration)
{
    Threads::EventLoop loop;
    report.position = configuration.pagePosition;
    try
    {
        StaticFiles(loop).SetFolder("/", configuration.pageFolder);
    }
    catch (const System::Commons::Exception& exception)
    {
        report.AddFault(exception.GetMessage());
    }
}

/// The first start creates a trail; where none is configured its folder is that of the users.
void CheckAudit(CheckReport& report, const HostConfiguration& configuration, const StateFolder& stateFolder)
{
    const Configuration::AuditConfiguration& audit = configuration.audit;
    report.position = audit.position;
    const std::filesystem::path path = std::filesystem::absolute(audit.databasePath);
    if (std::filesystem::exists(path.parent_path()))
    {
        Check(report, [&path] { Audit::AuditStore::RequireTrusted(path.string()); });
    }
    if (!std::filesystem::exists(path))
    {
        if (audit.position != configuration.usersPosition &&
            path.parent_path() != std::filesystem::absolute(stateFolder.GetPath()))
        {
            CheckWritable(report, audit.databasePath);
        }
        return;
    }
    Check(report,
          [&report, &audit]
          {
              const Audit::AuditVerdict verdict = Audit::AuditStore(audit.databasePath).Verify();
              if (!verdict.fault.empty())
              {
                  report.AddFault(Format("the audit trail '{0}' is broken: {1}", audit.databasePath, verdict.fault));
              }
          });
}

void CheckComponents(CheckReport& report, System::Commons::AppDomain& appDomain, const HostConfiguration& configuration)
{
    System::Acf::ComponentManager components(appDomain);
    for (const auto& component : configuration.components)
    {
        report.position = component.position;
        components.Load(component);
        components.SetupAll();
    }
}

void CheckModule(CheckReport& report, System::Commons::AppDomain& appDomain, Modules::HostedModule& module)
{
    try
    {
        // Other failures are logged.
        (void)module.SetUp(appDomain);
    }
    catch (const System::Commons::XmlException& exception)
    {
        report.AddFault(exception.GetMessageWithPosition());
    }
    module.TakeDown();
}

void CheckModules(CheckReport& report, System::Commons::AppDomain& appDomain, const HostConfiguration& configuration)
{
    report.position = configuration.modules.position;
    Modules::ModuleManifests modules;
    try
    {
        modules = Modules::LoadModuleManifests(configuration.modules);
    }
    catch (const System::Commons::InvalidOperationException& exception)
    {
        report.AddFault(exception.GetMessage());
    }
    for (const auto& fault : modules.faults)
    {
        report.AddFault(Format("the module '{0}' is refused: {1}", fault.moduleName, fault.cause));
    }
    Threads::EventLoop loop;
    Modules::ModuleRegistry registry(loop, configuration);
    registry.Expect(modules.manifests);
    for (const auto& manifest : modules.manifests)
    {
        report.position = manifest.position;
        Modules::HostedModule module(manifest, registry);
        CheckModule(report, appDomain, module);
    }
}

} // namespace

int CheckConfiguration(System::Commons::AppDomain& appDomain, const HostConfiguration& configuration,
                       const StateFolder& stateFolder)
{
    const auto report = std::make_shared<CheckReport>();
    LogConfiguration log;
    log.target = LogConfiguration::Target::None;
    LogManager::Configure(log);
    LogManager::AddSink(report);
    CheckAddress(*report, configuration.http);
    CheckCertificates(*report, configuration.http);
    CheckResources(*report, configuration.http);
    if (!configuration.log.filePath.empty())
    {
        report->position = configuration.log.position;
        CheckWritable(*report, configuration.log.filePath);
    }
    CheckUsers(*report, configuration, stateFolder);
    if (!configuration.pageFolder.empty())
    {
        CheckPage(*report, configuration);
    }
    CheckAudit(*report, configuration, stateFolder);
    CheckComponents(*report, appDomain, configuration);
    CheckModules(*report, appDomain, configuration);
    LogManager::RemoveSink(report);
    return report->hasFault ? System::Commons::configurationFaultStatus : EXIT_SUCCESS;
}

} // namespace Oxa::Host
