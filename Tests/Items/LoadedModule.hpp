#pragma once

#include "Items/FakeDeviceItemService.hpp"
#include "Oxa/Device/Interface/Services/DeviceItemServiceProxyFactory.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/ModuleInfo.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleLibrary.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"
#include "Support/FakeModuleHost.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string_view>

namespace Oxa::Tests::Items
{

/// The shared object, loaded as a host does.
class LoadedLibrary final
{
public:
    LoadedLibrary() : handle(dlopen(ITEMS_SHARED_OBJECT, RTLD_NOW | RTLD_LOCAL))
    {
        if (handle == nullptr)
        {
            throw std::runtime_error(dlerror());
        }
    }

    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    ~LoadedLibrary()
    {
        EXPECT_EQ(dlclose(handle), 0);
        EXPECT_EQ(dlopen(ITEMS_SHARED_OBJECT, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still mapped";
    }

    [[nodiscard]] Services::Commons::Wbm::Modules::WbmModuleLibrary& GetLibrary()
    {
        using namespace Services::Commons::Wbm::Modules;
        return reinterpret_cast<WbmModuleLibraryEntry*>(dlsym(handle, wbmModuleLibraryEntryName))(appDomain);
    }

private:
    System::Commons::AppDomain appDomain{"test"};
    void* const handle;
};

/// The module "Items" in a host, beside a device that lives in memory. Every test checks that nothing it did keeps the
/// library from being unloaded.
class LoadedModule : public testing::Test
{
protected:
    using Answer = Services::Commons::Wbm::WbmResponse;

    void SetUpModule()
    {
        module->SetupModule(Services::Commons::Wbm::Modules::ModuleInfo("Items", ""), host);
    }

    /// The body of the response; the header is checked.
    BasicString Send(const BasicString& requestName, const BasicString& query = {})
    {
        using namespace Services::Commons::Wbm;
        const WbmRequest request(requestName, RequestParams(RequestQuery(query)), System::Um::SecurityToken(1));
        const WbmResponse response = host.handlers.back()->HandleRequest(request);
        EXPECT_EQ(response.GetHeader().GetMediaType(), "application/json; charset=utf-8");
        return response.GetBody();
    }

    /// Offers the service in this process; without it calls fail.
    void Offer()
    {
        using namespace Oxa::Device::Interface::Services;
        registration = std::make_unique<System::Rsc::RscRegistration>(
            "boot", "build",
            std::vector<System::Rsc::RscRegistration::Service>{
                {DeviceItemServiceProxyFactory::GetInstance(), service}});
    }

    const std::shared_ptr<FakeDeviceItemService> service = std::make_shared<FakeDeviceItemService>();
    std::unique_ptr<System::Rsc::RscRegistration> registration;

    // What came out of the library ends before it.
    LoadedLibrary library;
    Support::FakeModuleHost host;
    const std::unique_ptr<Services::Commons::Wbm::Modules::IWbmModule> module =
        library.GetLibrary().GetModuleFactory().CreateModule("Items");
};

} // namespace Oxa::Tests::Items
