#include "Di/DiModuleLibrary.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using Oxa::Services::Commons::Wbm::Modules::IWbmModule;
using Oxa::Services::Modules::Wbm::Di::DiModuleLibrary;
using Oxa::System::Commons::AppDomain;
using Oxa::System::Commons::ArgumentException;
using Oxa::System::Commons::Singleton;
using Oxa::System::Commons::Diagnostics::Logging::LogManager;

std::unique_ptr<IWbmModule> CreateNothing()
{
    return nullptr;
}

TEST(CreatingTheLibrary, OffersOneModuleAndAdoptsTheDomainWhereThereIsNoneButAlwaysLogsUnderIt)
{
    AppDomain first("first");
    AppDomain second("second");
    DiModuleLibrary library(first);
    EXPECT_EQ(Singleton<AppDomain>::TryGetInstance(), &first);
    EXPECT_EQ(LogManager::GetApplicationName(), "first");
    const DiModuleLibrary other(second);
    EXPECT_EQ(Singleton<AppDomain>::TryGetInstance(), &first);
    EXPECT_EQ(LogManager::GetApplicationName(), "second");
    Singleton<AppDomain>::ClearInstance();

    EXPECT_EQ(library.GetModuleFactory().GetModuleNames(), std::vector<BasicString>{"Di"});
    EXPECT_NE(library.GetModuleFactory().CreateModule("Di"), nullptr);
    EXPECT_EQ(library.GetModuleFactory().CreateModule("di"), nullptr);
}

TEST(AddingFactoryFunctions, ChecksNameThenFunctionThenDuplicates)
{
    AppDomain appDomain("test");
    DiModuleLibrary library(appDomain);
    Singleton<AppDomain>::ClearInstance();
    const auto add = [&library](const char* name, auto function) -> BasicString
    {
        try
        {
            library.GetModuleFactory().AddFactoryFunction(name, function);
        }
        catch (const ArgumentException& exception)
        {
            return exception.what();
        }
        return "added";
    };
    EXPECT_EQ(add("", nullptr), "The argument 'moduleName' with the value '' is not valid: Invalid module name");
    EXPECT_EQ(add("Di", nullptr),
              "The argument 'function' with the value '0x0' is not valid: Invalid factory function.");
    EXPECT_EQ(add("Di", CreateNothing),
              "The argument 'moduleName' with the value 'Di' is not valid: Duplicate module name");
    EXPECT_EQ(add("di", CreateNothing), "added");
}

} // namespace
