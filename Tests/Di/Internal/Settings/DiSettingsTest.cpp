#include "Di/Internal/Settings/DiSettings.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Xml/XmlReader.hpp"
#include "Oxa/System/Commons/Xml/XmlSerializationContext.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using namespace Oxa::System::Commons;
using namespace Oxa::System::Commons::Xml;
using Oxa::Services::Modules::Wbm::Di::Internal::Settings::DiSettings;

class ReadingSettings : public testing::Test
{
protected:
    /// The message of the exception, or empty.
    BasicString Read(const BasicString& content)
    {
        return ReadDocument("<DiWbmModuleSettingsDocument>\n" + content + "\n</DiWbmModuleSettingsDocument>");
    }

    BasicString ReadDocument(const BasicString& text)
    {
        XmlReader reader(text, "Di.xml");
        XmlSerializationContext context(&appDomain);
        try
        {
            settings.ReadXml(reader, context);
        }
        catch (const XmlException& exception)
        {
            return exception.what();
        }
        return {};
    }

    AppDomain appDomain{"test"};
    DiSettings settings;
};

TEST_F(ReadingSettings, SplitsLanguagesAtEveryComma)
{
    const std::pair<BasicString, std::vector<BasicString>> cases[] = {
        {"en,de", {"en", "de"}},
        {"", {""}},
        {"en,,de", {"en", "", "de"}},
        {"en, de", {"en", " de"}},
        {"${LANGUAGE},", {"${LANGUAGE}", ""}},
    };
    appDomain.SetVariable("LANGUAGE", "fr");
    for (const auto& [text, languages] : cases)
    {
        EXPECT_EQ(Read("<DiWbmModuleSettings supportedLanguages='" + text + "' splcSupported='false'/>"), "");
        EXPECT_EQ(settings.supportedLanguages, languages) << text;
    }
}

TEST_F(ReadingSettings, SetsTheFlagForExactlyTrueAfterResolvingPlaceholders)
{
    appDomain.SetVariable("SAFETY", "true");
    const std::pair<BasicString, bool> cases[] = {{"true", true},      {"TRUE", false},           {"1", false},
                                                  {" true", false},    {"true1", false},          {"", false},
                                                  {"${SAFETY}", true}, {"${UNKNOWN_NAME}", false}};
    for (const auto& [text, isSet] : cases)
    {
        EXPECT_EQ(Read("<DiWbmModuleSettings supportedLanguages='en' splcSupported='" + text + "'/>"), "");
        EXPECT_EQ(settings.splcSupported, isSet) << text;
    }
}

TEST_F(ReadingSettings, LetsTheLastElementOfTheNameWinAndSkipsOthers)
{
    const std::pair<BasicString, BasicString> cases[] = {
        {"<Other><DiWbmModuleSettings/></Other>"
         "<DiWbmModuleSettings supportedLanguages='en' splcSupported='true'/>"
         "<DiWbmModuleSettings supportedLanguages='de' splcSupported='false'>text</DiWbmModuleSettings>"
         "<diwbmmodulesettings/>",
         "de"},
        {"<di:DiWbmModuleSettings xmlns:di='urn:di' supportedLanguages='fr' splcSupported='false'/>", "fr"},
        // The content of a settings element is read like what stands beside it.
        {"<DiWbmModuleSettings supportedLanguages='en' splcSupported='true'><Other/>"
         "<DiWbmModuleSettings supportedLanguages='sv' splcSupported='false'/></DiWbmModuleSettings>",
         "sv"},
    };
    for (const auto& [content, language] : cases)
    {
        EXPECT_EQ(Read(content), "");
        EXPECT_EQ(settings.supportedLanguages, std::vector<BasicString>{language});
        EXPECT_FALSE(settings.splcSupported) << content;
    }
}

TEST_F(ReadingSettings, AcceptsAnEmptyDocumentElementAndKeepsTheValues)
{
    EXPECT_EQ(ReadDocument("<DiWbmModuleSettingsDocument/>"), "");
    EXPECT_TRUE(settings.supportedLanguages.empty());
    EXPECT_FALSE(settings.splcSupported);

    EXPECT_EQ(Read("<DiWbmModuleSettings supportedLanguages='en' splcSupported='true'/>"), "");
    EXPECT_EQ(ReadDocument("<DiWbmModuleSettingsDocument/>"), "");
    EXPECT_EQ(settings.supportedLanguages, std::vector<BasicString>{"en"});
    EXPECT_TRUE(settings.splcSupported);
}

TEST_F(ReadingSettings, NamesTheMissingAttribute)
{
    const BasicString missingElement = "Di.xml:1: Missing XML element 'DiWbmModuleSettings'";
    EXPECT_EQ(Read("<Other/>"), missingElement);
    EXPECT_EQ(Read(""), missingElement);
    EXPECT_EQ(Read("<DiWbmModuleSettings splcSupported='true'/>"),
              "GetAttributeValue failed for mandatory attribute: supportedLanguages elementName: DiWbmModuleSettings");
    EXPECT_EQ(Read("<DiWbmModuleSettings supportedLanguages='sv'/>"),
              "GetAttributeValue failed for mandatory attribute: splcSupported elementName: DiWbmModuleSettings");
    EXPECT_EQ(settings.supportedLanguages, std::vector<BasicString>{"sv"});
}

} // namespace
