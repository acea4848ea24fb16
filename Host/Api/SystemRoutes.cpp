#include "Host/Api/SystemRoutes.hpp"

#include "Host/Audit/AuditTrail.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Host/Modules/ModuleSupervisor.hpp"
#include "Host/StaticFiles.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/System/Acf/ComponentManager.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>
#include <vector>

namespace Oxa::Host::Api
{

using Device::Interface::Services::DeviceStatusServiceProxyFactory;
using Http::Handling;
using Services::Commons::Wbm::Modules::VisibilityAttribute;
using System::Commons::Json::JsonWriter;
using System::Commons::Text::Format;

namespace
{

/// `Disabled` for a page whose module must not be called now.
VisibilityAttribute GetVisibility(const Modules::Page& page, const System::Um::SecurityToken& securityToken)
{
    const Modules::ModuleGate::Visit visit(*page.gate);
    try
    {
        return visit && !page.isWithdrawn ? page.handler->GetVisibilityAttribute(securityToken)
                                          : VisibilityAttribute::Disabled;
    }
    catch (...)
    {
        // Destroyed within the visit: its class may be in the module's library, which may be unloaded afterwards.
        return VisibilityAttribute::Disabled;
    }
}

void WriteDataProviders(JsonWriter& writer, const Modules::ModuleManifest& manifest)
{
    writer.WriteStartComplexArray("dataProviders");
    for (const auto& provider : manifest.dataProviders)
    {
        writer.TryWriteStartComplexArrayItem();
        writer.WriteValue("name", provider.name);
        writer.WriteValue("safe", provider.isSafe);
        writer.WriteSimpleArray(
            "confirm", std::vector<BasicString>(provider.confirmedRequests.begin(), provider.confirmedRequests.end()));
        writer.WriteEndComplexArrayItem();
    }
    writer.TryWriteEndComplexArray();
}

void WriteModule(JsonWriter& writer, const Modules::ModuleSupervisor::ModuleStatus& module)
{
    const Modules::ModuleManifest& manifest = module.manifest;
    writer.WriteValue("name", module.name);
    writer.WriteValue("state", GetModuleStateName(module.state));
    writer.WriteValue("since", module.since.ToIso8601String());
    writer.WriteValue("cause", module.cause);
    writer.WriteValue("version", manifest.version);
    writer.WriteValue("library", manifest.libraryPath);
    WriteDataProviders(writer, manifest);
    writer.WriteSimpleArray("pages", module.pageNames);
    writer.WriteStartComplexArray("languages");
    for (const auto& [name, file] : manifest.languageFiles)
    {
        writer.TryWriteStartComplexArrayItem();
        writer.WriteValue("name", name);
        writer.WriteValue("file", Modules::GetPagePath(module.name) + file);
        writer.WriteEndComplexArrayItem();
    }
    writer.TryWriteEndComplexArray();
}

/// What a page needs to show it: the module's script and texts, those that are served.
void WritePageFiles(JsonWriter& writer, const Modules::ModuleManifest& manifest, const StaticFiles& files)
{
    const BasicString folder = Modules::GetPagePath(manifest.name);
    const BasicString entry = folder + "page.js";
    writer.WriteValue("module", manifest.name);
    writer.WriteValue("entry", files.Serves(entry) ? entry : "");
    writer.WriteStartObject("texts");
    for (const auto& [language, file] : manifest.languageFiles)
    {
        if (const BasicString path = folder + file; files.Serves(path))
        {
            writer.WriteValue(language, path);
        }
    }
    writer.WriteEndObject();
}

const char* GetVisibilityName(VisibilityAttribute visibility) noexcept
{
    switch (visibility)
    {
    case VisibilityAttribute::Visible:
        return "visible";
    case VisibilityAttribute::Disabled:
        return "disabled";
    default:
        return "hidden";
    }
}

/// For clients without a log-in: names and times only.
BasicString DescribeSetup(const char* kind, const BasicString& name, std::chrono::steady_clock::time_point begin)
{
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin).count();
    return Format("the {0} '{1}' is being set up since {2} s", kind, name, seconds);
}

} // namespace

SystemRoutes::SystemRoutes(const Parts& parts)
    : parts(parts),
      pagesStrand(parts.registry.MakeStrand("the pages")),
      readinessStrand(parts.registry.MakeStrand("the readiness"))
{
}

Handling SystemRoutes::HandleHealth(const Exchange& exchange)
{
    exchange->Send({200, Http::jsonMediaType, R"({"status":"ok"})"});
    return Handling::Completed;
}

Handling SystemRoutes::HandleBootId(const Exchange& exchange)
{
    const char* const providerName = DeviceStatusServiceProxyFactory::GetInstance().GetServiceProviderName();
    const BasicString bootId = System::Rsc::ServiceManager::GetRun(providerName).bootId;
    if (bootId.empty())
    {
        return SendProblem(*exchange, Http::Problems::serviceNotAvailable);
    }
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteValue("bootId", bootId);
    writer.WriteEndObject();
    exchange->Send({200, Http::jsonMediaType, writer.GetText()});
    return Handling::Completed;
}

Handling SystemRoutes::HandleNotice(const Exchange& exchange, const BasicString& notice)
{
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteValue("text", notice);
    writer.WriteEndObject();
    exchange->Send({200, Http::jsonMediaType, writer.GetText()});
    return Handling::Completed;
}

Handling SystemRoutes::HandlePages(const Exchange& exchange, System::Um::SecurityToken securityToken) const
{
    return pagesStrand->Run(exchange,
                            [this, securityToken](Http::IHttpExchange& each) { SendPages(each, securityToken); });
}

void SystemRoutes::SendPages(Http::IHttpExchange& exchange, System::Um::SecurityToken securityToken) const
{
    const auto modules = parts.modules.GetStatuses();
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteStartComplexArray("pages");
    for (const auto& page : parts.registry.GetPages())
    {
        writer.TryWriteStartComplexArrayItem();
        writer.WriteValue("dataName", page->info.GetDataName());
        writer.WriteValue("pageName", page->info.GetPageName());
        writer.WriteValue("parentPageName", page->info.GetParentPageName());
        writer.WriteValue("visibility", GetVisibilityName(GetVisibility(*page, securityToken)));
        const auto owner = std::ranges::find_if(modules, [&page](const auto& each)
                                                { return std::ranges::count(each.pageNames, page->name) != 0; });
        // The module may have left in this moment.
        WritePageFiles(writer, owner == modules.end() ? Modules::ModuleManifest{} : owner->manifest, parts.files);
        writer.WriteEndComplexArrayItem();
    }
    writer.TryWriteEndComplexArray();
    writer.WriteSimpleArray("languages", parts.registry.GetSupportedLanguages());
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
}

Handling SystemRoutes::HandleModules(const Exchange& exchange) const
{
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteStartComplexArray("modules");
    for (const auto& module : parts.modules.GetStatuses())
    {
        writer.TryWriteStartComplexArrayItem();
        WriteModule(writer, module);
        writer.WriteEndComplexArrayItem();
    }
    writer.TryWriteEndComplexArray();
    writer.WriteEndObject();
    exchange->Send({200, Http::jsonMediaType, writer.GetText()});
    return Handling::Completed;
}

Handling SystemRoutes::HandleReadiness(const Exchange& exchange) const
{
    return readinessStrand->Run(exchange, [this](Http::IHttpExchange& each) { SendReadiness(each); });
}

void SystemRoutes::SendReadiness(Http::IHttpExchange& exchange) const
{
    std::vector<BasicString> causes;
    std::vector<BasicString> failedComponents;
    for (const auto& failure : parts.components.GetFailures())
    {
        failedComponents.push_back(failure.name);
    }
    if (const auto activity = parts.components.GetActivity())
    {
        failedComponents.push_back(activity->componentName);
        causes.push_back(DescribeSetup("component", activity->componentName, activity->begin));
    }
    std::vector<BasicString> failedModules;
    for (const auto& module : parts.modules.GetStatuses())
    {
        using Modules::ModuleState;
        if (module.state == ModuleState::Failed || module.state == ModuleState::Refused || module.setupBegin)
        {
            failedModules.push_back(module.name);
        }
        if (module.state == ModuleState::Refused)
        {
            causes.push_back(Format("the module '{0}' is refused", module.name));
        }
        if (module.setupBegin)
        {
            causes.push_back(DescribeSetup("module", module.name, *module.setupBegin));
        }
    }
    if (!CanReadUsers())
    {
        causes.emplace_back("the users cannot be read");
    }
    if (!parts.auditTrail.IsWritable())
    {
        causes.emplace_back("the audit trail cannot be written");
    }
    const std::vector<BasicString> dataProviders = parts.registry.FindUnavailableDataProviders();
    for (const auto& request : parts.registry.FindHangingRequests())
    {
        causes.push_back(Format("the request '{0}' has lasted {1} s", request.path, request.duration.count()));
    }
    if (failedComponents.empty() && failedModules.empty() && dataProviders.empty() && causes.empty())
    {
        exchange.Send({200, Http::jsonMediaType, R"({"status":"ready"})"});
        return;
    }
    JsonWriter writer;
    writer.WriteStartObject();
    Http::WriteProblemMembers(writer, Http::Problems::notReady);
    writer.WriteSimpleArray("components", failedComponents);
    writer.WriteSimpleArray("modules", failedModules);
    writer.WriteSimpleArray("dataProviders", dataProviders);
    writer.WriteSimpleArray("causes", causes);
    writer.WriteEndObject();
    exchange.Send({503, Http::problemMediaType, writer.GetText(), Http::retryAfterField});
}

/// Logs it when that changes.
bool SystemRoutes::CanReadUsers() const
{
    try
    {
        (void)parts.users.GetUsers();
        couldReadUsers = true;
    }
    catch (const std::exception& exception)
    {
        if (std::exchange(couldReadUsers, false))
        {
            Log(System::Commons::Diagnostics::Logging::LogLevel::Error, "the users cannot be read: {0}",
                exception.what());
        }
    }
    return couldReadUsers;
}

} // namespace Oxa::Host::Api
