#include "Host/Modules/ModuleManifest.hpp"

#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

namespace Oxa::Host::Modules
{

using testing::HasSubstr;

namespace
{

class Manifests : public testing::Test
{
protected:
    ModuleManifests Load()
    {
        return LoadModuleManifests(configuration);
    }

    /// Of a module of the file's name.
    BasicString Write(const BasicString& name, const BasicString& attributes, const BasicString& children = "") const
    {
        return folder.Write(name + ".xml", "<WbmModuleDocument>\n<Module name=\"" + name + "\" " + attributes + ">" +
                                               children + "</Module></WbmModuleDocument>");
    }

    /// The names of the modules, and those of the faults with a "!".
    BasicString LoadNames()
    {
        BasicString names;
        const ModuleManifests loaded = Load();
        for (const auto& manifest : loaded.manifests)
        {
            names += manifest.name + ' ';
        }
        for (const auto& fault : loaded.faults)
        {
            names += fault.moduleName + "! ";
        }
        return names;
    }

    Tests::Support::TemporaryFolder folder;
    Configuration::ModulesConfiguration configuration{.folder = folder.GetPath(), .modules = {}, .position = "h:1"};
};

TEST_F(Manifests, SayEverythingAboutAModule)
{
    Write("M", R"(library="/l" settings="/s" version="1.2")",
          R"(<DataProvider name="P" safe="true"/><DataProvider name="Q"><Request name="Reset" confirm="true"/>
             <Request name="Look" confirm="false"/></DataProvider>
             <Page folder="/p"><Language name="de" file="texts/de.json"/><Language name="en" file="en.json"/></Page>)");
    const ModuleManifests loaded = Load();
    EXPECT_THAT(loaded.faults, testing::IsEmpty());
    ASSERT_EQ(loaded.manifests.size(), 1U);
    const ModuleManifest& manifest = loaded.manifests.front();
    EXPECT_EQ(manifest.name, "M");
    EXPECT_EQ(manifest.version, "1.2");
    EXPECT_EQ(manifest.position, folder.GetPath("M.xml:2"));
    EXPECT_THAT(manifest.dataProviders,
                testing::ElementsAre(DataProviderManifest{"P", true}, DataProviderManifest{"Q", false, {"Reset"}}));
    EXPECT_THAT(ListFiles(manifest), testing::ElementsAre("/l", "/s", "/s", "/p", "/p/texts/de.json", "/p/en.json"));
}

TEST_F(Manifests, NamePathsRelativeToTheirFolder)
{
    Write("M", R"(library="../lib/m.so" settings="m.d")", R"(<Page folder="./page"/>)");
    const BasicString path = folder.GetPath();
    EXPECT_THAT(ListFiles(Load().manifests.at(0)), testing::ElementsAre(path.substr(0, path.rfind('/')) + "/lib/m.so",
                                                                        path + "/m.d", path + "/m.d", path + "/page"));
}

TEST_F(Manifests, AreFaultsOfTheirModuleOnlyWhenTheyHaveAMistake)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"", "", "the element 'Module' needs the attribute 'library'"},
        {R"(library="${NO_SUCH_VARIABLE}/m")", "", "expected variables that are known"},
        {R"(library="/l" setings="/s")", "", "has no attribute 'setings'"},
        {R"(library="/l")", "<DataProvider/>", "the element 'DataProvider' needs the attribute 'name'"},
        {R"(library="/l")", R"(<DataProvider name="P"/><DataProvider name="P"/>)", "'P', expected a name that is not"},
        {R"(library="/l")", R"(<DataProvider name="session"/>)", "'session', expected a name that is not reserved"},
        {R"(library="/l")", R"(<DataProvider name="P" safe="1"/>)", "'1', expected true or false"},
        {R"(library="/l")", R"(<DataProvider name="P" safe="true"><Request name="R" confirm="true"/></DataProvider>)",
         "'true', expected false in a data provider that is safe"},
        {R"(library="/l")", R"(<DataProvider name="P"><Request confirm="true"/></DataProvider>)",
         "the element 'Request' needs the attribute 'name'"},
        {R"(library="/l")", "<Page/>", "the element 'Page' needs the attribute 'folder'"},
        {R"(library="/l")", R"(<Page folder="/p"/><Page folder="/q"/>)", "the element 'Page' occurs twice"},
        {R"(library="/l")", R"(<Page folder="/p"><Language name="de" file="/etc/passwd"/></Page>)",
         "expected a path inside the page's folder"},
        {R"(library="/l")", R"(<Page folder="/p"><Language name="de" file="a/../../b"/></Page>)",
         "expected a path inside the page's folder"},
        {R"(library="/l")", "<Other/>", "the element 'Other' is not known here"}};
    Write("Good", R"(library="/l")");
    for (const auto& [attributes, children, cause] : cases)
    {
        const BasicString path = Write("M", attributes, children);
        const ModuleManifests loaded = Load();
        ASSERT_EQ(loaded.faults.size(), 1U) << attributes << children;
        EXPECT_EQ(loaded.faults[0].moduleName, "M");
        EXPECT_THAT(loaded.faults[0].cause, HasSubstr(path + ":2: "));
        EXPECT_THAT(loaded.faults[0].cause, HasSubstr(cause));
        EXPECT_EQ(loaded.manifests.size(), 1U) << "of the good one";
    }
}

TEST_F(Manifests, HaveTheNameOfTheirFileAndOneModule)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"(<WbmModuleDocument><Module name="N" library="/l"/></WbmModuleDocument>)",
         "'N', expected the name of its file, 'M'"},
        {"<WbmModuleDocument/>", "the element 'Module' is missing"},
        {R"(<WbmModuleDocument><Module name="M" library="/l"/><Module name="M" library="/l"/></WbmModuleDocument>)",
         "occurs twice"},
        {"<Other/>", "the document element is 'Other'"},
        {"", "M.xml"},
        {"<WbmModuleDocument><Module name=\"M\"", "M.xml:1: "}};
    for (const auto& [text, cause] : cases)
    {
        folder.Write("M.xml", text);
        const ModuleManifests loaded = Load();
        ASSERT_EQ(loaded.faults.size(), 1U) << text;
        EXPECT_THAT(loaded.faults[0].cause, HasSubstr(cause));
    }
}

TEST_F(Manifests, AreReadInTheOrderOfTheirNamesAndKeepTheirDataProviders)
{
    EXPECT_EQ(LoadNames(), "");
    Write("C", R"(library="/l")", R"(<DataProvider name="P"/>)");
    Write("B", R"(library="/l")", R"(<DataProvider name="Q"/><DataProvider name="P"/>)");
    Write("A", R"(library="/l")", R"(<DataProvider name="P"/>)");
    Write("D", R"(library="/l")", R"(<DataProvider name="Q"/>)");
    folder.Write(".hidden.xml", "");
    folder.Write("notes.txt", "");
    EXPECT_EQ(LoadNames(), "A D B! C! ");
    EXPECT_EQ(Load().faults[0].cause, folder.GetPath("B.xml:2: the data provider 'P' belongs to the module 'A'"));
}

TEST_F(Manifests, FollowTheConfigurationOfTheHost)
{
    Write("A", R"(library="/l" settings="/s")");
    Write("B", R"(library="/l" settings="/s")");
    folder.Write("C.xml", "nonsense");
    configuration.modules = {{"A", true, "/other"}, {"B", true, ""}, {"C", false, ""}, {"None", true, "/s"}};
    const ModuleManifests loaded = Load();
    ASSERT_EQ(LoadNames(), "A B ");
    EXPECT_EQ(loaded.manifests[0].settingsPath, "/other");
    EXPECT_EQ(loaded.manifests[1].settingsPath, "/s");
    configuration.folder = "";
    EXPECT_EQ(LoadNames(), "") << "no folder is configured";
}

TEST_F(Manifests, AreRefusedWhenOthersCouldChangeThem)
{
    Write("A", R"(library="/l")");
    const BasicString path = Write("B", R"(library="/l")");
    ASSERT_EQ(chmod(path.c_str(), 0666), 0);
    EXPECT_EQ(LoadNames(), "A B! ");
    EXPECT_EQ(Load().faults[0].cause, "'" + path + "' can be written by everybody");

    ASSERT_EQ(chmod(folder.GetPath().c_str(), 0777), 0);
    EXPECT_THROW((void)Load(), System::Commons::InvalidOperationException);
    ASSERT_EQ(chmod(folder.GetPath().c_str(), 0755), 0);
    configuration.folder = folder.GetPath("none");
    EXPECT_THROW((void)Load(), System::Commons::InvalidOperationException);
}

TEST_F(Manifests, DifferWhenLibraryOrSettingsWereReplaced)
{
    const BasicString settings = folder.GetPath("settings");
    std::filesystem::create_directory(settings);
    folder.Write("settings/a.xml", "1");
    folder.Write("library", "1");
    Write("A", "library=\"" + folder.GetPath("library") + "\" settings=\"" + settings + '"');
    const std::function<void()> changes[] = {[this] { folder.Write("library", "22"); },
                                             [this] { folder.Write("settings/a.xml", "22"); },
                                             [this] { folder.Write("settings/b.xml", "1"); },
                                             [this]
                                             {
                                                 std::filesystem::remove(folder.GetPath("settings/a.xml"));
                                             }};
    for (const auto& change : changes)
    {
        const ModuleManifest before = Load().manifests.at(0);
        EXPECT_EQ(Load().manifests.at(0), before);
        change();
        EXPECT_FALSE(Load().manifests.at(0) == before);
    }
}

} // namespace

} // namespace Oxa::Host::Modules
