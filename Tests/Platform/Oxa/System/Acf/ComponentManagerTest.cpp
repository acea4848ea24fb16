#include "Oxa/System/Acf/ComponentManager.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Support/LogRecorder.hpp"
#include "Support/TemporaryFolder.hpp"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

namespace Oxa::System::Acf
{
namespace
{

using System::Commons::AppDomain;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;

class ManagingComponents : public testing::Test
{
protected:
    void Load(const BasicString& name, const BasicString& componentName)
    {
        manager->Load({name, FAKE_COMPONENTS_PATH, componentName, "/etc/" + name + ".xml"});
    }

    void RunWholeLife()
    {
        manager->SetupAll();
        manager->StartAll();
        manager.reset();
    }

    [[nodiscard]] BasicString GetCalls() const
    {
        return appDomain.TryGetVariable("calls").value_or("");
    }

    Tests::Support::LogRecorder log;
    AppDomain appDomain{"Test"};
    std::optional<ComponentManager> manager{appDomain};
};

TEST_F(ManagingComponents, StopsAndDestroysInReverseOrder)
{
    Load("a", "Fails.None");
    Load("b", "Fails.None");
    EXPECT_THAT(manager->GetFailures(), IsEmpty());
    RunWholeLife();
    EXPECT_EQ(GetCalls(), "a.Setup(/etc/a.xml) b.Setup(/etc/b.xml) a.Start b.Start b.Stop a.Stop b.Destroy a.Destroy ");
}

TEST_F(ManagingComponents, DoesEveryStepOnlyOnce)
{
    Load("a", "Fails.None");
    manager->StartAll();
    manager->SetupAll();
    manager->SetupAll();
    manager->StartAll();
    manager->StartAll();
    manager->StopAll();
    manager->StopAll();
    manager->StartAll();
    EXPECT_EQ(GetCalls(), "a.Setup(/etc/a.xml) a.Start a.Stop ");
}

TEST_F(ManagingComponents, ClosesLibrariesAfterTheirComponents)
{
    Load("a", "Fails.None");
    RunWholeLife();
    EXPECT_EQ(::dlopen(FAKE_COMPONENTS_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(ManagingComponents, LeavesOutTheOneThatThrowsAndGoesOn)
{
    struct Case
    {
        BasicString componentName;
        BasicString failure;
        BasicString calls;
    };

    const Case cases[] = {
        {"Fails.Create", "Load failed: thrown by the library", ""},
        {"Fails.Int", "Load failed: an exception of unknown type", ""},
        {"Fails.Nobody", "Load failed: the library has no component 'Fails.Nobody'", ""},
        {"Fails.Setup", "Setup failed: thrown by the library", "bad.Setup(/etc/bad.xml) bad.Destroy "},
        {"Fails.Start", "Start failed: thrown by the library", "bad.Stop bad.Destroy "},
    };
    for (const Case& current : cases)
    {
        SCOPED_TRACE(current.componentName);
        appDomain.SetVariable("calls", "");
        manager.emplace(appDomain);
        Load("bad", current.componentName);
        Load("good", "Fails.None");
        manager->SetupAll();
        manager->StartAll();
        ASSERT_EQ(manager->GetFailures().size(), 1U);
        EXPECT_EQ(manager->GetFailures()[0].name, "bad");
        EXPECT_THAT(manager->GetFailures()[0].text,
                    AllOf(HasSubstr("'bad'"), HasSubstr(FAKE_COMPONENTS_PATH), HasSubstr(current.failure)));
        EXPECT_THAT(GetCalls(), AllOf(HasSubstr(current.calls), HasSubstr("good.Start ")));
        EXPECT_THAT(log.GetEntries(),
                    Contains(Field(&Tests::Support::LogRecorder::Entry::message, HasSubstr(current.failure))));
    }
}

TEST_F(ManagingComponents, LeavesOutLibrariesThatCannotBeUsedAndClosesThem)
{
    const std::pair<BasicString, BasicString> cases[] = {
        {"/no/such.so", "No such file or directory"},
        {SOURCE_FILE_PATH, "invalid ELF header"},
        {MISSING_ENTRY_PATH, "undefined symbol: CreateComponentLibrary"},
        {THROWING_ENTRY_PATH, "no component\\x0atoday"}};
    for (const auto& [path, cause] : cases)
    {
        manager.emplace(appDomain);
        manager->Load({"bad", path, "Any", ""});
        EXPECT_THAT(manager->GetFailures(),
                    ElementsAre(Field(&ComponentFailure::text, AllOf(HasSubstr(path), HasSubstr(cause)))));
        EXPECT_EQ(::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << path;
    }
}

TEST_F(ManagingComponents, LoadsNothingThatOtherUsersCouldChange)
{
    namespace fs = std::filesystem;
    const Tests::Support::TemporaryFolder folder;
    fs::create_directories(folder.GetPath("libraries"));
    fs::create_directories(folder.GetPath("settings.d"));
    const BasicString library = folder.GetPath("libraries/libFake.so");
    fs::copy_file(FAKE_COMPONENTS_PATH, library);
    const BasicString settings = folder.Write("settings.d/10.xml", "<Any/>");

    const struct
    {
        const char* changed;
        fs::perms mode;
        BasicString settings;
        /// Empty: trusted.
        const char* cause;
    } cases[] = {{"libraries/libFake.so", fs::perms{0646}, settings, "can be written by everybody"},
                 {"libraries", fs::perms{0757}, settings, "can be written by everybody"},
                 {"settings.d", fs::perms{0757}, settings, "can be written by everybody"},
                 {"settings.d/10.xml", fs::perms{0646}, settings, "can be written by everybody"},
                 {"settings.d/10.xml", fs::perms{0646}, folder.GetPath("settings.d"), "can be written by everybody"},
                 {"settings.d", fs::perms{0757}, folder.GetPath("settings.d/none"), "can be written by everybody"},
                 {"settings.d", fs::perms{0755}, folder.GetPath("settings.d"), ""},
                 {"settings.d", fs::perms{0755}, folder.GetPath("settings.d/none"), ""}};

    for (const auto& each : cases)
    {
        const BasicString changed = folder.GetPath(each.changed);
        SCOPED_TRACE(changed + ", settings " + each.settings);
        const auto before = fs::status(changed).permissions();
        fs::permissions(changed, each.mode);
        manager.emplace(appDomain);
        manager->Load({"a", library, "Fails.None", each.settings});
        const bool isTrusted = *each.cause == '\0';
        void* const loaded = ::dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD);
        EXPECT_EQ(loaded != nullptr, isTrusted);
        if (loaded != nullptr)
        {
            ::dlclose(loaded);
        }
        EXPECT_EQ(manager->GetFailures().empty(), isTrusted);
        for (const ComponentFailure& failure : manager->GetFailures())
        {
            EXPECT_THAT(failure.text, AllOf(HasSubstr("other users could change what it does: '" + changed + "' "),
                                            HasSubstr(each.cause)));
        }
        fs::permissions(changed, before);
    }
}

TEST_F(ManagingComponents, RefusesASecondComponentOfTheSameName)
{
    Load("a", "Fails.None");
    Load("a", "Fails.None");
    EXPECT_THAT(manager->GetFailures(),
                ElementsAre(Field(&ComponentFailure::text, HasSubstr("There is a component of this name"))));
    RunWholeLife();
    EXPECT_EQ(GetCalls(), "a.Setup(/etc/a.xml) a.Start a.Stop a.Destroy ");
}

} // namespace
} // namespace Oxa::System::Acf
