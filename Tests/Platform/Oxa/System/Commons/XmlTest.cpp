#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Xml/IXmlSerializable.hpp"
#include "Oxa/System/Commons/Xml/MultiXmlConfigDocument.hpp"
#include "Oxa/System/Commons/Xml/XmlReader.hpp"
#include "Oxa/System/Commons/Xml/XmlSerializationContext.hpp"
#include "Oxa/System/Commons/Xml/XmlWriter.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace Oxa;
using namespace Oxa::System::Commons;
using namespace Oxa::System::Commons::Xml;

/// Collects the names of all elements; throws without a position when it meets "Bad".
struct NameCollector final : IXmlSerializable
{
    void ReadXml(XmlReader& reader, XmlSerializationContext& /*context*/) override
    {
        while (reader.TryReadStartElement())
        {
            names += reader.GetElementLocalName() + ";";
            if (names.ends_with("Bad;"))
            {
                throw XmlException::Create("bad element");
            }
        }
    }

    void WriteXml(XmlWriter& /*writer*/, XmlSerializationContext& /*context*/) override {}

    BasicString names;
};

class LoadingDocuments : public testing::Test
{
protected:
    /// The message of the exception, or empty.
    BasicString Load(const BasicString& path)
    {
        try
        {
            MultiXmlConfigDocument("Root", collector).Load(path);
        }
        catch (const XmlException& exception)
        {
            messageWithPosition = exception.GetMessageWithPosition();
            return exception.what();
        }
        return {};
    }

    const Oxa::Tests::Support::TemporaryFolder folder;
    NameCollector collector;
    BasicString messageWithPosition;
};

TEST(ReadingXml, PrintsNothingOfItsOwnAboutADamagedFile)
{
    // Bytes that the encoding does not have, once more than the parser reads ahead.
    BasicString text = "<?xml version='1.0' encoding='EUC-JP'?><Root>";
    for (int count = 0; count < 5000; ++count)
    {
        text += "\xff\xfe\xfd";
    }
    testing::internal::CaptureStderr();
    const auto read = [&text]
    {
        XmlReader reader(text + "</Root>", "test.xml");
        while (reader.TryReadStartElement())
        {
        }
    };
    EXPECT_THROW(read(), XmlException);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ReadingXml, VisitsStartTagsAndLeavesElementsWithAllTheyHold)
{
    XmlReader reader("<?xml version='1.0'?><!-- c --><Root> t <A x='1' y='2' z='true'><B/></A><!-- c -->"
                     "<A><C><B/></C></A><D/><E><![CDATA[<F/>]]></E></Root>",
                     "test.xml");
    EXPECT_FALSE(reader.IsEmptyElement());
    ASSERT_TRUE(reader.TryReadStartElement());
    BasicString text = "before";
    EXPECT_FALSE(reader.TryGetAttributeValue("none", text));
    EXPECT_EQ(text, "before");
    EXPECT_TRUE(reader.TryGetAttributeValue("z", text));
    EXPECT_EQ(text, "true");
    ASSERT_TRUE(reader.TryReadStartElement());
    EXPECT_EQ(reader.GetElementLocalName(), "B");
    EXPECT_TRUE(reader.IsEmptyElement());
    reader.ReadEndElement();
    ASSERT_TRUE(reader.TryReadStartElement());
    reader.ReadEndElement();
    ASSERT_TRUE(reader.TryReadStartElement("E"));
    EXPECT_FALSE(reader.TryReadStartElement());
}

TEST(ReadingXml, ReadsAllThatLiesBeforeAPlaceThatIsNotWellFormed)
{
    XmlReader reader("<Root>\n<A\n  xml:x='&amp;lt;'\n  x='2'>\n\n text\n </A><B></Root>", "test.xml");
    ASSERT_TRUE(reader.TryReadStartElement());
    EXPECT_EQ(reader.GetLineNumber(), 2);
    EXPECT_EQ(reader.GetAttributeNames(), (std::vector<BasicString>{"xml:x", "x"}));
    BasicString value;
    EXPECT_TRUE(reader.TryGetAttributeValue("xml:x", value));
    EXPECT_EQ(value, "&lt;");
    ASSERT_TRUE(reader.TryReadStartElement());
    EXPECT_EQ(reader.GetElementLocalName(), "B");
    EXPECT_EQ(reader.GetSkippedText(), "text");
    EXPECT_EQ(reader.GetSkippedTextLine(), 6);
    EXPECT_THROW(reader.TryReadStartElement(), XmlException);
}

TEST(ReadingXml, FindsTagsAndTheirLinesInLongDocumentsAndInEveryEncoding)
{
    const BasicString text = "<Root>" + BasicString(70'000, '\n') + "<A\n/><B></B></Root>";
    BasicString utf16 = "\xFE\xFF";
    for (const char character : text)
    {
        (utf16 += '\0') += character;
    }
    for (const BasicString& document : {text, "<?xml version='1.0' encoding='ISO-8859-1'?>" + text, utf16})
    {
        XmlReader reader(document, "test.xml");
        ASSERT_TRUE(reader.TryReadStartElement("A"));
        EXPECT_TRUE(reader.IsEmptyElement());
        EXPECT_EQ(reader.GetLineNumber(), 70'001);
        ASSERT_TRUE(reader.TryReadStartElement("B"));
        EXPECT_FALSE(reader.IsEmptyElement());
        EXPECT_EQ(reader.GetLineNumber(), 70'002);
    }
}

TEST_F(LoadingDocuments, NamesFileLineAndCauseOfEveryFault)
{
    const std::tuple<BasicString, BasicString, BasicString> cases[] = {
        {"other.xml", "\n<Other/>", ":2: the document element is 'Other', expected 'Root'"},
        {"open.xml", "<Root>\n<A>\n</Root>", ":3: Opening and ending tag mismatch"},
        {"empty.xml", "", ":1: the document is empty"},
        {"nul.xml", BasicString(100, '\0'), ":1: the document is empty"},
        {"blank.xml", "<?xml version='1.0'?>\n", ":2: the document is empty"},
        {"cut.xml", "<Root>\n<A>\n", ":3: the document ends before its element is closed"},
        {"tag.xml", "<Root>\n<A b='1", ":2: the document ends before its element is closed"},
        {"tail.xml", "<Root>\n" + BasicString(100, '\0'), ":2: the document ends before its element is closed"},
        {"text.xml", "10 MB of nonsense", ":1: "},
        {"after.xml", "<Root>\n</Root>\nrest", ":3: Extra content"},
        {"doctype.xml", "<!DOCTYPE Root [<!ENTITY e 'x'>]>\n<Root>&e;</Root>",
         ":1: document type declarations are not allowed"},
        {"entity.xml", "<Root>\n&unknown;</Root>", ":2: Entity 'unknown' not defined"},
        {"prefix.xml", "<Root>\n<a:A/></Root>", ":2: Namespace prefix a on A is not defined"},
    };
    for (const auto& [name, text, message] : cases)
    {
        const BasicString path = folder.Write(name, text);
        EXPECT_NE(Load(path).find(path + message), BasicString::npos) << Load(path);
    }
    const BasicString none = folder.GetPath("none.xml");
    EXPECT_EQ(Load(none), "cannot read '" + none + "': No such file or directory");
    EXPECT_NE(Load(folder.Write("huge.xml", BasicString(10'000'000, ' '))).find("huge.xml"), BasicString::npos);
    EXPECT_NE(Load("/dev/zero").find("not a regular file"), BasicString::npos);
}

TEST_F(LoadingDocuments, KeepsTheTextOfAnExceptionAndAddsThePositionBesideIt)
{
    const BasicString path = folder.Write("bad.xml", "<Root>\n\n<Bad/></Root>");
    EXPECT_EQ(Load(path), "bad element");
    EXPECT_EQ(messageWithPosition, path + ":3: bad element");
}

TEST_F(LoadingDocuments, ReadsAllFilesOfAFolderInNameOrder)
{
    EXPECT_NE(Load(folder.GetPath()).find("holds no *.xml file"), BasicString::npos);
    folder.Write("20.xml", "<Root><Second/></Root>");
    folder.Write("10.xml", "<Root><First/></Root>");
    folder.Write("30.txt", "not XML");
    EXPECT_EQ(Load(folder.GetPath()), "");
    EXPECT_EQ(collector.names, "First;Second;");
}

TEST(ResolvingPlaceholders, PrefersTheDomainAndKeepsWhatIsUnknown)
{
    AppDomain appDomain("test");
    appDomain.SetVariable("PATH", "domain");
    appDomain.SetVariable("LOOP", "${LOOP}");
    appDomain.SetVariable("EMPTY", "");
    ::setenv("OXA_XML_TEST", "environment", 1);
    const PlaceholderExpression placeholders(&appDomain);
    const std::pair<BasicString, BasicString> cases[] = {
        {"a${PATH}b${OXA_XML_TEST}", "adomainbenvironment"},
        {"${LOOP}", "${LOOP}"},
        {"${NO_SUCH_NAME}${PATH}", "${NO_SUCH_NAME}domain"},
        {"${PATH", "${PATH"},
        {"$PATH ${} $", "$PATH ${} $"},
        {"${NO_SUCH_NAME:-a${PATH}b${NO_SUCH_NAME:-}}c", "adomainbc"},
        {"${PATH:-${NO_SUCH_NAME}}", "domain"},
        {"${EMPTY:-default}${EMPTY}", "default"},
        {"${NO_SUCH_NAME:-${NO_SUCH_NAME}}", "${NO_SUCH_NAME}"},
        {"${PATH:-${PATH}", "${PATH:-${PATH}"},
    };
    for (const auto& [text, resolved] : cases)
    {
        EXPECT_EQ(placeholders.Resolve(text), resolved);
    }
}

TEST(WritingXml, WritesTextsSoThatTheyCanBeReadAgain)
{
    XmlWriter writer;
    writer.WriteStartElement("Root");
    writer.WriteAttribute("a", "<\"&\xFF\x01\xEF\xBF\xBF\t");
    writer.WriteComment("---a--b\x01-");
    writer.WriteText("1 < 2");
    writer.WriteEndElement();
    EXPECT_THROW(writer.WriteEndElement(), Exception);
    XmlReader reader(writer.GetText(), "written.xml");
    BasicString value;
    EXPECT_TRUE(reader.TryGetAttributeValue("a", value));
    EXPECT_EQ(value, "<\"&\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\t");
    EXPECT_NE(writer.GetText().find("<!--- - -a- -b\xEF\xBF\xBD- -->"), BasicString::npos) << writer.GetText();
}

} // namespace
