#include "Oxa/Services/Commons/Wbm/Modules/IWbmModule.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Extensibility/ModuleLibraryBase.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <latch>
#include <thread>
#include <vector>

namespace
{

using namespace Oxa;
using ModuleLibrary = System::Commons::Extensibility::ModuleLibraryBase<Services::Commons::Wbm::Modules::IWbmModule>;
using EntryFunction = ModuleLibrary& (*)(System::Commons::AppDomain&);

TEST(LoadingTheSharedObject, GivesOneLibraryAndCanBeUnloaded)
{
    System::Commons::AppDomain first("first");
    System::Commons::AppDomain second("second");
    void* const handle = dlopen(DI_SHARED_OBJECT, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    const auto createLibrary = reinterpret_cast<EntryFunction>(dlsym(handle, "CreateWbmModuleLibrary"));
    ASSERT_NE(createLibrary, nullptr);
    ModuleLibrary& library = createLibrary(first);
    EXPECT_EQ(&createLibrary(second), &library);
    EXPECT_EQ(System::Commons::Singleton<System::Commons::AppDomain>::TryGetInstance(), &first);
    EXPECT_NE(library.GetModuleFactory().CreateModule("Di"), nullptr);

    System::Commons::Singleton<System::Commons::AppDomain>::ClearInstance();
    EXPECT_EQ(dlclose(handle), 0);
    EXPECT_EQ(dlopen(DI_SHARED_OBJECT, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still mapped";
}

TEST(LoadingTheSharedObject, GivesTheSameLibraryToAllThreads)
{
    System::Commons::AppDomain appDomain("test");
    void* const handle = dlopen(DI_SHARED_OBJECT, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    const auto createLibrary = reinterpret_cast<EntryFunction>(dlsym(handle, "CreateWbmModuleLibrary"));
    constexpr int threadCount = 8;
    std::latch start(threadCount);
    std::vector<ModuleLibrary*> libraries(threadCount);
    std::vector<std::jthread> threads;
    for (int index = 0; index < threadCount; ++index)
    {
        threads.emplace_back(
            [&start, &libraries, &appDomain, createLibrary, index]
            {
                start.arrive_and_wait();
                libraries[static_cast<std::size_t>(index)] = &createLibrary(appDomain);
            });
    }
    threads.clear();
    for (ModuleLibrary* const library : libraries)
    {
        EXPECT_EQ(library, libraries.front());
    }
    System::Commons::Singleton<System::Commons::AppDomain>::ClearInstance();
    dlclose(handle);
}

} // namespace
