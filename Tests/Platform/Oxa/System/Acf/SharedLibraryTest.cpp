#include "Oxa/System/Acf/SharedLibrary.hpp"

#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace Oxa::System::Acf
{
namespace
{

using System::Commons::InvalidOperationException;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

bool IsLoaded(const char* path)
{
    void* handle = ::dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr)
    {
        ::dlclose(handle);
    }
    return handle != nullptr;
}

BasicString GetLoadError(const BasicString& path)
{
    try
    {
        const SharedLibrary library(path);
    }
    catch (const InvalidOperationException& exception)
    {
        return exception.GetMessage();
    }
    return "loaded";
}

TEST(LoadingASharedLibrary, NamesPathAndCauseOnce)
{
    const std::pair<BasicString, BasicString> cases[] = {
        {"/no/such/library.so",
         "cannot load '/no/such/library.so': cannot open shared object file: No such file or directory"},
        {"libNoSuchOxa.so", "cannot load 'libNoSuchOxa.so': cannot open shared object file: No such file or directory"},
        {SOURCE_FILE_PATH, BasicString("cannot load '") + SOURCE_FILE_PATH + "': invalid ELF header"},
        {"", "cannot load '': the path is empty"}};
    for (const auto& [path, message] : cases)
    {
        EXPECT_EQ(GetLoadError(path), message);
    }
    EXPECT_THAT(GetLoadError("/"), StartsWith("cannot load '/': "));
}

TEST(LoadingASharedLibrary, NamesPathAndNameOfAFunctionThatIsNotThere)
{
    const SharedLibrary library(MISSING_ENTRY_PATH);
    try
    {
        (void)library.GetFunction<void()>(componentLibraryEntryName);
        ADD_FAILURE() << "found";
    }
    catch (const InvalidOperationException& exception)
    {
        EXPECT_THAT(exception.GetMessage(), AllOf(HasSubstr("'CreateComponentLibrary'"), HasSubstr(MISSING_ENTRY_PATH),
                                                  HasSubstr("undefined symbol")));
    }
}

TEST(OwningASharedLibrary, ClosesItOnceAfterMoves)
{
    {
        SharedLibrary first(MISSING_ENTRY_PATH);
        SharedLibrary second(std::move(first));
        SharedLibrary third(FAKE_COMPONENTS_PATH);
        EXPECT_FALSE(second.IsSameAs(third));
        third = std::move(second);
        EXPECT_FALSE(IsLoaded(FAKE_COMPONENTS_PATH));
        EXPECT_TRUE(IsLoaded(MISSING_ENTRY_PATH));
    }
    EXPECT_FALSE(IsLoaded(MISSING_ENTRY_PATH));
}

} // namespace
} // namespace Oxa::System::Acf
