#include "Host/Routes/StatusRoutes.hpp"

#include "Host/Http/Problem.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Host/Modules/ModuleSupervisor.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/System/Acf/ComponentManager.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <chrono>
#include <exception>
#include <utility>
#include <vector>

namespace Oxa::Host::Routes
{

using Device::Interface::Services::DeviceStatusServiceProxyFactory;
using System::Commons::Json::JsonWriter;
using System::Commons::Text::Format;

namespace
{

/// For clients without a log-in: names and times only.
BasicString DescribeSetup(const char* kind, const BasicString& name, std::chrono::steady_clock::time_point begin)
{
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin).count();
    return Format("the {0} '{1}' is being set up since {2} s", kind, name, seconds);
}

} // namespace

Http::Handling SendHealth(Http::IHttpExchange& exchange)
{
    exchange.Send({200, Http::jsonMediaType, R"({"status":"ok"})"});
    return Http::Handling::Completed;
}

Http::Handling SendBootId(Http::IHttpExchange& exchange)
{
    const char* const providerName = DeviceStatusServiceProxyFactory::GetInstance().GetServiceProviderName();
    const BasicString bootId = System::Rsc::ServiceManager::GetRun(providerName).bootId;
    if (bootId.empty())
    {
        return SendProblem(exchange, Http::Problems::serviceNotAvailable);
    }
    JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteValue("bootId", bootId);
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
    return Http::Handling::Completed;
}

ReadinessRoute::ReadinessRoute(const System::Acf::ComponentManager& components,
                               const Modules::ModuleSupervisor& modules, const Modules::ModuleRegistry& registry,
                               const System::Um::UserManager& users)
    : components(components),
      modules(modules),
      registry(registry),
      users(users),
      strand(registry.MakeStrand("the readiness"))
{
}

Http::Handling ReadinessRoute::Handle(const std::shared_ptr<Http::IHttpExchange>& exchange) const
{
    return strand->Run(exchange, [this](Http::IHttpExchange& each) { Send(each); });
}

void ReadinessRoute::Send(Http::IHttpExchange& exchange) const
{
    std::vector<BasicString> causes;
    std::vector<BasicString> failedComponents;
    for (const auto& failure : components.GetFailures())
    {
        failedComponents.push_back(failure.name);
    }
    if (const auto activity = components.GetActivity())
    {
        failedComponents.push_back(activity->componentName);
        causes.push_back(DescribeSetup("component", activity->componentName, activity->begin));
    }
    std::vector<BasicString> failedModules;
    for (const auto& module : modules.GetStates())
    {
        if (module.hasFailed || module.setupBegin)
        {
            failedModules.push_back(module.name);
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
    const std::vector<BasicString> dataProviders = registry.FindUnavailableDataProviders();
    for (const auto& request : registry.FindHangingRequests())
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
bool ReadinessRoute::CanReadUsers() const
{
    try
    {
        (void)users.GetUsers();
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

} // namespace Oxa::Host::Routes
