// What the module "Items" costs beside the module "Di": GetItems of 60 items, as shipped, and the request for all five
// sections, in turns in one process. Both read this machine, through the shipped description of a PC, whose component
// runs in this process. The counter "ratio" is GetItems to sections.

#include "Benchmarks/FloorComparison.hpp"
#include "Benchmarks/MemoryServices.hpp"
#include "Device/Component/LinuxComponent.hpp"
#include "Di/Internal/DiHandler.hpp"
#include "Di/Internal/Settings/DiSettings.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/ModuleInfo.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleLibrary.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Tests/Support/FakeModuleHost.hpp"
#include "Tests/Support/TemporaryFolder.hpp"

#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

namespace
{

using namespace Oxa;
using namespace Oxa::Services::Commons::Wbm;
using Oxa::Services::Modules::Wbm::Di::Internal::DiHandler;
using Oxa::Services::Modules::Wbm::Di::Internal::Settings::DiSettings;

constexpr std::size_t itemCount = 60;

std::size_t CountItems(const BasicString& body)
{
    std::size_t count = 0;
    for (std::size_t place = body.find("{\"key\":"); place != BasicString::npos;
         place = body.find("{\"key\":", place + 1))
    {
        ++count;
    }
    return count;
}

/// The services of this machine as a PC, with `additionalItems` more items.
class Machine final
{
public:
    Machine(System::Commons::AppDomain& appDomain, std::size_t additionalItems) : component(appDomain)
    {
        std::ostringstream shipped;
        shipped << std::ifstream(OXA_DESCRIPTIONS "/pc.xml").rdbuf();
        folder.Write("10-pc.xml", shipped.str());
        BasicString more = "<DeviceDescriptionDocument name=\"more\">";
        for (std::size_t index = 0; index < additionalItems; ++index)
        {
            more += "<Item key=\"Board.More." + std::to_string(index) + "\" type=\"real32\">" +
                    "<simulated form=\"sine\" mean=\"24\" amplitude=\"1\"/></Item>";
        }
        folder.Write("20-more.xml", more + "</DeviceDescriptionDocument>");
        component.Setup(System::Acf::ComponentInfo("Linux", folder.GetPath("")));
        component.Start();
    }

    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    ~Machine()
    {
        component.Stop();
    }

private:
    Tests::Support::TemporaryFolder folder;
    Device::Linux::Component::LinuxComponent component;
};

/// The module library as shipped, set up with the services that there are now.
class ItemsModule final
{
public:
    explicit ItemsModule(System::Commons::AppDomain& appDomain)
    {
        void* const handle = dlopen(OXA_ITEMS_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr)
        {
            std::fprintf(stderr, "%s\n", dlerror());
            std::exit(EXIT_FAILURE);
        }
        auto* const entry =
            reinterpret_cast<Modules::WbmModuleLibraryEntry*>(dlsym(handle, Modules::wbmModuleLibraryEntryName));
        module = entry(appDomain).GetModuleFactory().CreateModule("Items");
        module->SetupModule(Modules::ModuleInfo("Items", ""), host);
    }

    [[nodiscard]] BasicString GetItems() const
    {
        return host.handlers.front()->HandleRequest(request).GetBody();
    }

private:
    // Destroyed before the library: that is never unloaded.
    Tests::Support::FakeModuleHost host;
    std::unique_ptr<Modules::IWbmModule> module;
    const WbmRequest request{"GetItems", RequestParams(), System::Um::SecurityToken(1)};
};

class Sections final
{
public:
    Sections()
    {
        handler.SubscribeServices();
        handler.Setup();
    }

    [[nodiscard]] BasicString GetAll()
    {
        return handler.HandleRequest(request).GetBody();
    }

private:
    DiSettings settings;
    DiHandler handler{settings};
    const WbmRequest request{"GetDataSections",
                             RequestParams(RequestQuery("GeneralData&DateTime&Health&StatusIndicators&Utilization")),
                             System::Um::SecurityToken(1)};
};

template <class TFunction>
void Measure(benchmark::State& state, const TFunction& request)
{
    std::size_t bytes = 0;
    for ([[maybe_unused]] auto iteration : state)
    {
        bytes = request().size();
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}

} // namespace

int main(int argc, char** argv)
{
    System::Commons::AppDomain appDomain("ItemsBenchmark");
    const System::Rsc::RscRegistration users(
        "", "",
        {{System::Um::Services::Internal::AuthorizationServiceProxyFactory::GetInstance(),
          std::make_shared<Benchmarks::MemoryAuthorizationService>()}});
    auto machine = std::make_unique<Machine>(appDomain, 0);
    const std::size_t shippedCount = CountItems(ItemsModule(appDomain).GetItems());
    machine.reset();
    machine = std::make_unique<Machine>(appDomain, itemCount - shippedCount);
    const ItemsModule items(appDomain);
    Sections sections;
    if (CountItems(items.GetItems()) != itemCount || sections.GetAll().find("cpuCoresLoad") == BasicString::npos)
    {
        std::fprintf(stderr, "unexpected responses:\n%s\n%s\n", items.GetItems().c_str(), sections.GetAll().c_str());
        return EXIT_FAILURE;
    }
    const auto getItems = [&items]
    {
        return items.GetItems();
    };
    const auto getSections = [&sections]
    {
        return sections.GetAll();
    };
    benchmark::RegisterBenchmark("GetItems, 60 items", [&getItems](auto& state) { Measure(state, getItems); });
    benchmark::RegisterBenchmark("GetDataSections, all sections",
                                 [&getSections](auto& state) { Measure(state, getSections); });
    benchmark::RegisterBenchmark("GetItems to GetDataSections",
                                 [&](auto& state)
                                 {
                                     Benchmarks::CompareWithFloor(
                                         state, [&] { benchmark::DoNotOptimize(getItems()); },
                                         [&] { benchmark::DoNotOptimize(getSections()); });
                                 });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
