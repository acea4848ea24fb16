#include "Host/Routes/PagesRoute.hpp"

#include "Host/Modules/ModuleRegistry.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/System/Commons/Json/JsonWriter.hpp"

namespace Oxa::Host::Routes
{

using Services::Commons::Wbm::Modules::VisibilityAttribute;

namespace
{

/// `Disabled` for a page whose module must not be called now.
VisibilityAttribute GetVisibility(const Modules::Page& page, const System::Um::SecurityToken& securityToken)
{
    const Modules::ModuleGate::Visit visit(*page.gate);
    return visit && !page.isWithdrawn ? page.handler->GetVisibilityAttribute(securityToken)
                                      : VisibilityAttribute::Disabled;
}

const char* GetName(VisibilityAttribute visibility) noexcept
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

} // namespace

PagesRoute::PagesRoute(const Modules::ModuleRegistry& registry)
    : registry(registry), strand(registry.MakeStrand("the pages"))
{
}

Http::Handling PagesRoute::Handle(const std::shared_ptr<Http::IHttpExchange>& exchange,
                                  System::Um::SecurityToken securityToken) const
{
    return strand->Run(exchange, [this, securityToken](Http::IHttpExchange& each) { Send(each, securityToken); });
}

void PagesRoute::Send(Http::IHttpExchange& exchange, System::Um::SecurityToken securityToken) const
{
    System::Commons::Json::JsonWriter writer;
    writer.WriteStartObject();
    writer.WriteStartComplexArray("pages");
    for (const auto& page : registry.GetPages())
    {
        writer.TryWriteStartComplexArrayItem();
        writer.WriteValue("dataName", page->info.GetDataName());
        writer.WriteValue("pageName", page->info.GetPageName());
        writer.WriteValue("parentPageName", page->info.GetParentPageName());
        writer.WriteValue("visibility", GetName(GetVisibility(*page, securityToken)));
        writer.WriteEndComplexArrayItem();
    }
    writer.TryWriteEndComplexArray();
    writer.WriteSimpleArray("languages", registry.GetSupportedLanguages());
    writer.WriteEndObject();
    exchange.Send({200, Http::jsonMediaType, writer.GetText()});
}

} // namespace Oxa::Host::Routes
