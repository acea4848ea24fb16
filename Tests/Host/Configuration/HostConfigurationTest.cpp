#include "Host/Configuration/HostConfiguration.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>

namespace Oxa::Host::Configuration
{

using System::Commons::AppDomain;
using System::Commons::Singleton;
using System::Commons::XmlException;
using System::Commons::Diagnostics::Logging::LogConfiguration;
using System::Commons::Diagnostics::Logging::LogLevel;
using testing::HasSubstr;
using Tests::Support::TemporaryFolder;

namespace
{

TEST(ReadingTheConfiguration, ReadsEveryElementAndAttribute)
{
    AppDomain appDomain("test");
    Singleton<AppDomain>::TrySetInstance(appDomain);
    appDomain.SetVariable("STATE", "/s");
    const TemporaryFolder folder;
    const HostConfiguration configuration = LoadHostConfiguration(folder.Write("host.xml",
                                                                               R"(<WbmHostDocument>
            <Log level="warning" target="file" file="/l"><Level prefix="Oxa::Host" level="debug"/></Log>
            <Http address="::1" port="0" maximumConnections="3" idleSeconds="4" headerSeconds="5" bodySeconds="6"
                writeSeconds="7" shutdownSeconds="8" maximumHeaderBytes="1024" maximumHeaderFields="16"
                maximumBodyBytes="1026" maximumBodyBytesWithoutSession="1025" maximumConnectionsPerAddress="2"
                sendBufferBytes="4096" maximumUnsentBytes="65536" firstByteSeconds="1"
                maximumRepetitions="3"/>
             <Page folder="/w"/>
            <Users database="${STATE}/u"/>
            <Sessions idleSeconds="9" lifetimeSeconds="10" maximumPerUser="11" maximumTotal="12"
                      wrongPasswordsPerAccount="13" wrongPasswordsPerAddress="14" notice="1&#10;2"/>
            <Requests maximumWaiting="15" maximumWaitingPerClient="16"/>
            <Services><Provider name="D" socket="/d" readMilliseconds="10" commandMilliseconds="60000"/>
                <Provider name="E" socket="/e"/></Services>
            <Components><Component name="A" library="/a" settings="/as"/><Component name="B" library="/a" component="A"/>
            </Components>
            <Modules folder="/mf"><Module name="M" settings="/ms"/><Module name="N" enabled="false"/></Modules>
        </WbmHostDocument>)"));
    Singleton<AppDomain>::ClearInstance();

    EXPECT_EQ(configuration.log.target, LogConfiguration::Target::File);
    EXPECT_EQ(configuration.log.filePath, "/l");
    EXPECT_EQ(configuration.log.level, LogLevel::Warning);
    EXPECT_EQ(configuration.log.levelsByPrefix.at("Oxa::Host"), LogLevel::Debug);
    EXPECT_EQ(configuration.http.address, "::1");
    EXPECT_EQ(configuration.http.port, 0);
    EXPECT_EQ(configuration.http.maximumConnections, 3U);
    EXPECT_EQ(configuration.http.idleTimeout.count(), 4);
    EXPECT_EQ(configuration.http.headerTimeout.count(), 5);
    EXPECT_EQ(configuration.http.bodyTimeout.count(), 6);
    EXPECT_EQ(configuration.http.writeTimeout.count(), 7);
    EXPECT_EQ(configuration.http.shutdownTimeout.count(), 8);
    EXPECT_EQ(configuration.http.maximumConnectionsPerAddress, 2U);
    EXPECT_EQ(configuration.http.sendBufferBytes, 4096U);
    EXPECT_EQ(configuration.http.maximumUnsentBytes, 65536U);
    EXPECT_EQ(configuration.http.firstByteTimeout.count(), 1);
    EXPECT_EQ(configuration.http.requestLimits.maximumRepetitions, 3U);
    EXPECT_EQ(configuration.http.requestLimits.maximumHeaderBytes, 1024U);
    EXPECT_EQ(configuration.http.requestLimits.maximumHeaderFields, 16U);
    EXPECT_EQ(configuration.http.requestLimits.maximumBodyBytes, 1026U);
    EXPECT_EQ(configuration.http.requestLimits.maximumBodyBytesWithoutSession, 1025U);
    EXPECT_EQ(configuration.pageFolder, "/w");
    EXPECT_EQ(configuration.usersDatabasePath, "/s/u");
    EXPECT_EQ(configuration.sessions.idleTimeout.count(), 9);
    EXPECT_EQ(configuration.sessions.lifetime.count(), 10);
    EXPECT_EQ(configuration.sessions.maximumPerUser, 11U);
    EXPECT_EQ(configuration.sessions.notice, "1\n2");
    EXPECT_EQ(configuration.sessions.maximumTotal, 12U);
    EXPECT_EQ(configuration.sessions.wrongPasswordsPerAccount, 13U);
    EXPECT_EQ(configuration.sessions.wrongPasswordsPerAddress, 14U);
    EXPECT_EQ(configuration.waitingLimits.maximum, 15U);
    EXPECT_EQ(configuration.waitingLimits.maximumPerClient, 16U);
    ASSERT_EQ(configuration.serviceEndpoints.size(), 2U);
    EXPECT_EQ(configuration.serviceEndpoints[0].socketPath, "/d");
    EXPECT_EQ(configuration.serviceEndpoints[0].readTimeout.count(), 10);
    EXPECT_EQ(configuration.serviceEndpoints[0].commandTimeout.count(), 60000);
    EXPECT_EQ(configuration.serviceEndpoints[1].socketPath, "/e");
    ASSERT_EQ(configuration.components.size(), 2U);
    EXPECT_EQ(configuration.components[0].settingsPath, "/as");
    EXPECT_EQ(configuration.components[1].componentName, "A");
    EXPECT_EQ(configuration.modules.folder, "/mf");
    ASSERT_EQ(configuration.modules.modules.size(), 2U);
    EXPECT_EQ(configuration.modules.modules[0].settingsPath, "/ms");
    EXPECT_TRUE(configuration.modules.modules[0].isEnabled);
    EXPECT_FALSE(configuration.modules.modules[1].isEnabled);
}

TEST(ReadingTheConfiguration, EncryptsEverythingOutsideOfTheLoopbackInterface)
{
    const std::pair<const char*, bool> cases[] = {{"", false},
                                                  {"address=\"127.0.0.2\"", false},
                                                  {"address=\"::1\" tls=\"false\"", false},
                                                  {"address=\"::1\" tls=\"true\"", true},
                                                  {"address=\"0.0.0.0\"", true},
                                                  {"address=\"::\"", true},
                                                  {"address=\"192.0.2.1\" tls=\"true\"", true}};
    const TemporaryFolder folder;
    for (const auto& [attributes, isSecure] : cases)
    {
        const BasicString text =
            BasicString("<WbmHostDocument><Http ") + attributes +
            R"( certificates="/c" hosts="a  https://b ::2"/><Users database="/u"/></WbmHostDocument>)";
        const HttpConfiguration http = LoadHostConfiguration(folder.Write("host.xml", text)).http;
        EXPECT_EQ(http.isSecure, isSecure) << attributes;
        EXPECT_EQ(http.certificatesPath, "/c");
        EXPECT_THAT(http.hosts, testing::ElementsAre("a", "https://b", "::2"));
        EXPECT_FALSE(http.redirectPort);
    }
}

TEST(ReadingTheConfiguration, NamesTheLineOfWhatItDoesNotUnderstand)
{
    const std::pair<BasicString, const char*> faults[] = {
        {"<Unknown/>", "the element 'Unknown' is not known here"},
        {"<Log><Http/></Log>", "the element 'Http' is not known here"},
        {"<Module name=\"M\"/>", "the element 'Module' is not known here"},
        {"<Log/><Log level=\"debug\"/>", "the element 'Log' occurs twice"},
        {"<Http prot=\"1\"/>", "the element 'Http' has no attribute 'prot'"},
        {"<Http xml:port=\"1\"/>", "the element 'Http' has no attribute 'xml:port'"},
        {"<xml:Http/>", "the element 'xml:Http' is not known here"},
        {"<Log level=\"debug\"> loud</Log>", "the text 'loud' does not belong here"},
        {"<Http port=\"65536\"/>", "'65536', expected a whole number from 0 to 65535"},
        {"<Http port=\"-1\"/>", "'-1', expected a whole number"},
        {"<Sessions notice=\"" + BasicString(2001, 'n') + "\"/>", "expected a text of at most 2000 bytes"},
        {"<Http idleSeconds=\"0\"/>", "'0', expected a whole number from 1 to 3600"},
        {"<Http maximumBodyBytes=\"4095\"/>", "'4096', expected at most maximumBodyBytes"},
        {"<Http address=\"localhost\"/>", "'localhost', expected an IP address"},
        {"<Http address=\"0.0.0.0\" tls=\"false\"/>", "'false', expected true, because plain HTTP"},
        {"<Http address=\"::\" tls=\"false\"/>", "'false', expected true, because plain HTTP"},
        {"<Http tls=\"auto\"/>", "'auto', expected true or false"},
        {"<Http hosts=\"a b:80\"/>", "'b:80', expected names or IP addresses without port"},
        {"<Http hosts=\"http://a\"/>", "'http://a', expected names"},
        {"<Http hosts=\"https://\"/>", "'https://', expected names"},
        {"<Http hosts=\"a/b\"/>", "'a/b', expected names"},
        {"<Http hosts=\"a\" redirectPort=\"80\"/>", "'80', expected encryption and a name in 'hosts'"},
        {"<Http tls=\"true\" redirectPort=\"80\"/>", "'80', expected encryption and a name in 'hosts'"},
        {"<Log level=\"loud\"/>", "'loud', expected error"},
        {"<Log target=\"printer\"/>", "'printer', expected one of: console"},
        {"<Log target=\"file\"/>", "the element 'Log' needs the attribute 'file'"},
        {"<Users database=\"${NO_SUCH_VARIABLE}/u\"/>", "'${NO_SUCH_VARIABLE}/u', expected variables that are known"},
        {"<Modules/>", "the element 'Modules' needs the attribute 'folder'"},
        {"<Modules folder=\"f\"/>", "'f', expected an absolute path"},
        {"<Modules folder=\"/f\"><Module/></Modules>", "the element 'Module' needs the attribute 'name'"},
        {"<Modules folder=\"/f\"><Module name=\"M\"/><Module name=\"M\"/></Modules>",
         "'M', expected a name that is not taken"},
        {"<Modules folder=\"/f\"><Module name=\"M\" library=\"/m\"/></Modules>", "has no attribute 'library'"},
        {"<Modules folder=\"/f\"><Module name=\"M\" settings=\"s\"/></Modules>", "'s', expected an absolute path"},
        {"<Modules folder=\"/f\"><Module name=\"M\" enabled=\"no\"/></Modules>", "'no', expected true or false"},
        {"<Services><Provider name=\"D\"/></Services>", "the element 'Provider' needs the attribute 'socket'"},
        {"<Services><Provider name=\"D\" socket=\"/d\" bus=\"system\"/></Services>", "no attribute 'bus'"},
        {"<Services><Provider name=\"D\" socket=\"d\"/></Services>", "'d', expected an absolute path"},
        {"<Services><Provider name=\"D\" socket=\"/d\" readMilliseconds=\"9\"/></Services>",
         "'9', expected a whole number from 10 to 60000"},
        {"<Services><Provider name=\"D\" socket=\"/d\"/><Provider name=\"D\" socket=\"/e\"/></Services>",
         "'D', expected a name that is not taken"},
    };
    const TemporaryFolder folder;
    for (const auto& [text, message] : faults)
    {
        const BasicString path = folder.Write("host.xml", "<WbmHostDocument>\n\n" + text + "</WbmHostDocument>");
        try
        {
            (void)LoadHostConfiguration(path);
            ADD_FAILURE() << text;
        }
        catch (const XmlException& exception)
        {
            EXPECT_THAT(exception.what(), HasSubstr(path + ":3: "));
            EXPECT_THAT(exception.what(), HasSubstr(message));
        }
    }
}

TEST(ReadingTheConfiguration, NeedsToKnowWhereTheUsersAre)
{
    const TemporaryFolder folder;
    const BasicString path = folder.Write("host.xml", "<WbmHostDocument/>");
    EXPECT_THROW((void)LoadHostConfiguration(path), XmlException);
}

} // namespace

} // namespace Oxa::Host::Configuration
