#include "Oxa/Services/Commons/Wbm/Modules/ModuleInfo.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmModuleLibrary.hpp"
#include "Support/FakeDevice.hpp"
#include "Support/FakeModuleHost.hpp"
#include "Support/LogRecorder.hpp"
#include "Support/TemporaryFolder.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <vector>

namespace
{

using namespace Oxa;
using namespace Oxa::Tests::Support;
using Services::Commons::Wbm::Modules::WbmModuleLibrary;
using Services::Commons::Wbm::Modules::WbmModuleLibraryEntry;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Diagnostics::Logging::LogManager;

/// Works the module as a host does, from its creation to its end.
void UseModule(const WbmModuleLibrary& library)
{
    using namespace Services::Commons::Wbm;
    const TemporaryFolder folder;
    FakeDevice device;
    device.controlService->result = Device::Interface::Services::AccessErrorCode::Busy;
    const auto module = library.GetModuleFactory().CreateModule("Di");
    FakeModuleHost host;
    const BasicString settingsPath =
        folder.Write("Di.xml", "<DiWbmModuleSettingsDocument><DiWbmModuleSettings supportedLanguages='en' "
                               "splcSupported='true'/></DiWbmModuleSettingsDocument>");
    module->SetupModule(Modules::ModuleInfo("Di", settingsPath), host);

    const auto send = [&host](std::size_t handler, const char* name, const char* query)
    {
        const WbmRequest request(name, RequestParams(RequestQuery(query)), System::Um::SecurityToken(1));
        return host.handlers.at(handler)->HandleRequest(request).GetBody();
    };
    EXPECT_TRUE(send(0, "GetDataSections", "GeneralData&DateTime&Health&StatusIndicators&Utilization")
                    .starts_with(R"({"errorCode":"","resultKind":1,)"));
    EXPECT_TRUE(send(1, "ResetControllerToFactoryDefault", "").starts_with(R"({"errorCode":"busy",)"));
    module->ResetModule(host);
}

TEST(LoadingTheSharedObject, GivesOneLibraryWhichLeavesNothingBehindWhenItIsUnloadedAfterWork)
{
    System::Commons::AppDomain first("first");
    System::Commons::AppDomain second("second");
    const LogRecorder log;
    void* const handle = dlopen(DI_SHARED_OBJECT, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    auto* const createLibrary = reinterpret_cast<WbmModuleLibraryEntry*>(dlsym(handle, "CreateWbmModuleLibrary"));
    ASSERT_NE(createLibrary, nullptr);
    WbmModuleLibrary& library = createLibrary(first);
    EXPECT_EQ(&createLibrary(second), &library);
    EXPECT_EQ(System::Commons::Singleton<System::Commons::AppDomain>::TryGetInstance(), &first);
    EXPECT_EQ(LogManager::GetApplicationName(), "first");
    UseModule(library);
    EXPECT_EQ(log.GetEntries().back().level, LogLevel::Error);

    System::Commons::Singleton<System::Commons::AppDomain>::ClearInstance();
    EXPECT_EQ(dlclose(handle), 0);
    EXPECT_EQ(dlopen(DI_SHARED_OBJECT, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still mapped";

    // The log has met classes that are gone; it still works, and can be configured anew.
    const LogRecorder laterLog(LogLevel::Warning);
    LogManager::CreateLogAdapter("Test")->Write(LogLevel::Warning, "after");
    EXPECT_EQ(laterLog.GetEntries(), (std::vector<LogRecorder::Entry>{{LogLevel::Warning, "Test", "after"}}));
}

} // namespace
