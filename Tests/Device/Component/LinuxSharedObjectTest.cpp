#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace Oxa::Tests::Device
{

namespace
{

using Oxa::Device::Interface::Services::DeviceStatusServiceProxyFactory;
using Oxa::Device::Interface::Services::IDeviceStatusService;
using Oxa::Device::Interface::Services::ItemKey;
using Oxa::System::Acf::ComponentLibraryBase;
using Oxa::System::Commons::AppDomain;

std::unique_ptr<IDeviceStatusService> GetStatusService()
{
    auto& factory = DeviceStatusServiceProxyFactory::GetInstance();
    return std::unique_ptr<IDeviceStatusService>(static_cast<IDeviceStatusService*>(
        Oxa::System::Rsc::ServiceManager::GetService(factory.GetServiceProviderName(), factory)));
}

bool IsMapped(const BasicString& fileName)
{
    std::ostringstream maps;
    maps << std::ifstream("/proc/self/maps").rdbuf();
    return maps.str().find(fileName) != BasicString::npos;
}

void UseComponent(ComponentLibraryBase& library)
{
    EXPECT_EQ(library.GetModuleFactory().CreateModule("Windows"), nullptr);
    const auto component = library.GetModuleFactory().CreateModule("Linux");
    ASSERT_NE(component, nullptr);
    component->Setup(Oxa::System::Acf::ComponentInfo("Linux", OXA_DESCRIPTIONS "/pc.xml"));
    component->Start();
    const auto status = GetStatusService();
    ASSERT_NE(status, nullptr);
    EXPECT_EQ(ToTypedText(status->ReadItem(ItemKey("Status.System.UpTime.Seconds"))), "Uint64 93784");
    component->Stop();
    EXPECT_EQ(GetStatusService(), nullptr);
}

} // namespace

TEST(TheSharedObject, IsLoadedUsedAndUnloaded)
{
    using EntryFunction = ComponentLibraryBase&(AppDomain&);
    FakeMachine machine;
    machine.BecomePc();
    AppDomain appDomain("test");
    appDomain.SetVariable("OXA_DEVICE_ROOT", machine.GetPath(""));

    void* const handle = dlopen(OXA_DEVICE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    auto* const create = reinterpret_cast<EntryFunction*>(dlsym(handle, "CreateComponentLibrary"));
    ASSERT_NE(create, nullptr) << dlerror();
    EXPECT_TRUE(IsMapped("libOxa.Device.Linux.so"));
    ComponentLibraryBase& library = create(appDomain);
    EXPECT_EQ(&create(appDomain), &library);
    UseComponent(library);

    dlclose(handle);
    EXPECT_FALSE(IsMapped("libOxa.Device.Linux.so"));
}

TEST(TheSharedObject, ReadsTheMachineThatItRunsOn)
{
    AppDomain appDomain("test");
    void* const handle = dlopen(OXA_DEVICE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    auto* const create =
        reinterpret_cast<ComponentLibraryBase& (*)(AppDomain&)>(dlsym(handle, "CreateComponentLibrary"));
    {
        const auto component = create(appDomain).GetModuleFactory().CreateModule("Linux");
        component->Setup(Oxa::System::Acf::ComponentInfo("Linux", OXA_DESCRIPTIONS "/pc.xml"));
        component->Start();
        for (const char* key :
             {"Status.System.UpTime.Seconds", "Status.Memory.Usage.Percent.Actual", "Status.UserPartition.Total",
              "Status.Cpu.0.Load.Percent", "Status.Cpu.1.Load.Percent", "Status.System.BootId", "General.ArticleName",
              "General.Firmware.Version", "Cpu.Cores.Count"})
        {
            EXPECT_NE(ToTypedText(GetStatusService()->ReadItem(ItemKey(key))), "NotSet") << key;
        }
        component->Stop();
    }
    dlclose(handle);
}

} // namespace Oxa::Tests::Device
