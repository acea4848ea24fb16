#include "Host/Status/ReadinessRoute.hpp"

#include "Host/Http/Problem.hpp"
#include "Host/Modules/ModuleManager.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include <utility>

namespace Oxa::Host::Status
{

ReadinessRoute::ReadinessRoute(const Modules::ModuleManager& modules, const Modules::ModuleRegistry& registry,
                               Http::RequestStrand& strand)
    : modules(modules), registry(registry), strand(strand)
{
}

void ReadinessRoute::SetFailedComponents(std::vector<BasicString> names)
{
    components = std::move(names);
}

Http::Handling ReadinessRoute::Handle(const std::shared_ptr<Http::IHttpExchange>& exchange) const
{
    return strand.Run(exchange, [this](Http::IHttpExchange& each) { Answer(each); });
}

void ReadinessRoute::Answer(Http::IHttpExchange& exchange) const
{
    const std::vector<BasicString> failedModules = modules.GetFailedModules();
    const std::vector<BasicString> dataProviders = registry.FindUnavailableDataProviders();
    if (components.empty() && failedModules.empty() && dataProviders.empty())
    {
        exchange.Send({200, Http::jsonMediaType, {}}, R"({"status":"ready"})");
        return;
    }
    System::Commons::Json::JsonWriter writer;
    writer.WriteStartObject();
    Http::WriteProblemMembers(writer, Http::Problems::notReady);
    writer.WriteSimpleArray("components", components);
    writer.WriteSimpleArray("modules", failedModules);
    writer.WriteSimpleArray("dataProviders", dataProviders);
    writer.WriteEndObject();
    exchange.Send({503, Http::problemMediaType, Http::retryAfterField}, writer.GetText());
}

} // namespace Oxa::Host::Status
