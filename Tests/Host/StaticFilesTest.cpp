#include "Host/StaticFiles.hpp"

#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Support/FakeExchange.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <sodium.h>

#include <filesystem>

namespace Oxa::Host
{

using Http::Handling;
using Http::HttpMethod;
using System::Commons::InvalidOperationException;
using testing::HasSubstr;
using testing::Not;
using Tests::Support::FakeExchange;

namespace
{

class ServingFiles : public testing::Test
{
protected:
    ServingFiles()
    {
        EXPECT_GE(sodium_init(), 0);
        std::filesystem::create_directory(folder.GetPath("assets"));
        folder.Write("index.html", "<html>");
        folder.Write("assets/app-ABCDEFG7.js", "plain");
        folder.Write("assets/app-ABCDEFG7.js.gz", "gzipped");
        folder.Write("assets/app-ABCDEFG7.js.br", "brotli");
        folder.Write("assets/lone.gz", "archive");
        folder.Write("assets/empty.txt", "");
        files.SetFolder("/", folder.GetPath());
    }

    FakeExchange& Ask(std::string_view path, std::string_view codings = {}, std::string_view tags = {},
                      HttpMethod method = HttpMethod::Get)
    {
        exchange = std::make_shared<FakeExchange>();
        exchange->request.method = method;
        exchange->request.path = path;
        exchange->request.acceptedCodings = codings;
        exchange->request.knownTags = tags;
        EXPECT_EQ(files.Handle(exchange), Handling::Completed);
        return *exchange;
    }

    /// With its quotes.
    BasicString AskForTag(std::string_view path, std::string_view codings = {})
    {
        const BasicString& fields = Ask(path, codings).fields;
        const std::size_t begin = fields.find("ETag: ") + 6;
        return fields.substr(begin, fields.find("\r\n") - begin);
    }

    Tests::Support::TemporaryFolder folder;
    Threads::EventLoop loop;
    StaticFiles files{loop};
    std::shared_ptr<FakeExchange> exchange;
};

TEST_F(ServingFiles, FindsFilesByTheirExactPathsOnly)
{
    folder.Write("later.html", "came after the start");
    const std::pair<const char*, const char*> cases[] = {{"/", "<html>"},
                                                         {"/index.html", "<html>"},
                                                         {"/assets/app-ABCDEFG7.js", "plain"},
                                                         {"/assets/lone.gz", "archive"},
                                                         {"/assets/empty.txt", ""}};
    for (const auto& [path, content] : cases)
    {
        EXPECT_EQ(Ask(path).status, 200U) << path;
        EXPECT_EQ(exchange->body, content) << path;
    }
    for (const char* const path :
         {"", "//", "/.", "/assets", "/assets/", "/index.html/", "/INDEX.html", "/%69ndex.html", "/later.html",
          "/assets/../index.html", "/../etc/passwd", "/..%2f..%2fetc%2fpasswd", "/assets/app-ABCDEFG7.js.gz", "*",
          "/index.html%00", "/etc/passwd", "index.html"})
    {
        EXPECT_EQ(Ask(path).status, 404U) << path;
    }
    EXPECT_EQ(Ask("/", {}, {}, HttpMethod::Post).status, 405U);
    EXPECT_EQ(exchange->fields, "Allow: GET, HEAD\r\n");
}

TEST_F(ServingFiles, SendsTheCodingThatTheClientAccepts)
{
    const std::pair<const char*, const char*> cases[] = {{"", "plain"},
                                                         {"identity", "plain"},
                                                         {"gzip", "gzipped"},
                                                         {"br", "brotli"},
                                                         {"gzip, deflate, br", "brotli"},
                                                         {"br;q=0, gzip", "gzipped"},
                                                         {"GZIP;q=0.5", "gzipped"},
                                                         {"gzip ; q=0.000", "plain"},
                                                         {"xgzip, gzipx", "plain"},
                                                         {"*", "plain"},
                                                         {",;,q=1,", "plain"},
                                                         {"br;q=0.001", "brotli"}};
    for (const auto& [codings, content] : cases)
    {
        EXPECT_EQ(Ask("/assets/app-ABCDEFG7.js", codings).body, content) << codings;
        EXPECT_THAT(exchange->fields, HasSubstr("Vary: Accept-Encoding\r\n"));
        EXPECT_EQ(exchange->fields.find("Content-Encoding") == BasicString::npos, exchange->body == "plain") << codings;
    }
    EXPECT_THAT(Ask("/", "gzip, br").fields, Not(testing::AnyOf(HasSubstr("Vary"), HasSubstr("Content-Encoding"))));
}

TEST_F(ServingFiles, SendsNothingThatTheClientHas)
{
    const BasicString path = "/assets/app-ABCDEFG7.js";
    const BasicString tag = AskForTag(path);
    EXPECT_NE(tag, AskForTag(path, "br")) << "each coding has its own";
    const std::pair<BasicString, unsigned> cases[] = {{tag, 304},         {"W/" + tag, 304}, {"\"x\", " + tag, 304},
                                                      {"*", 304},         {"\"x\"", 200},    {tag.substr(1), 200},
                                                      {"\"x" + tag, 200}, {"", 200},         {", ,", 200}};
    for (const auto& [tags, status] : cases)
    {
        EXPECT_EQ(Ask(path, {}, tags).status, status) << tags;
        EXPECT_EQ(exchange->body, status == 304 ? "" : "plain") << tags;
        EXPECT_THAT(exchange->fields, HasSubstr("ETag: " + tag + "\r\n"));
    }
}

TEST_F(ServingFiles, ServesAFileThatWasReplacedWithItsNewTag)
{
    const BasicString tag = AskForTag("/");
    folder.Write("new", "<HTML>");
    std::filesystem::rename(folder.GetPath("new"), folder.GetPath("index.html"));
    EXPECT_EQ(Ask("/", {}, tag).body, "<HTML>");
    EXPECT_NE(AskForTag("/"), tag);
    std::filesystem::remove(folder.GetPath("index.html"));
    EXPECT_THROW(Ask("/"), InvalidOperationException);
    folder.Write("index.html", BasicString(StaticFiles::maximumFileBytes + 1, 'x'));
    EXPECT_THROW(Ask("/"), InvalidOperationException);
}

TEST_F(ServingFiles, LetsBrowsersKeepFilesThatAreNamedByTheirContent)
{
    for (const char* const name :
         {"a-ABCDEF27.css", "b-ABCDEF2.css", "c-ABCDEF18.css", "d-abcdef27.css", "ABCDEF27.css"})
    {
        folder.Write(name, name);
    }
    files.SetFolder("/", folder.GetPath());
    const std::pair<const char*, bool> cases[] = {{"/a-ABCDEF27.css", true},  {"/b-ABCDEF2.css", false},
                                                  {"/c-ABCDEF18.css", false}, {"/d-abcdef27.css", false},
                                                  {"/ABCDEF27.css", false},   {"/", false}};
    for (const auto& [path, isKept] : cases)
    {
        EXPECT_THAT(Ask(path).fields, HasSubstr(isKept ? "Cache-Control: public, max-age=31536000, immutable\r\n"
                                                       : "Cache-Control: no-cache\r\n"))
            << path;
    }
}

TEST_F(ServingFiles, LeavesOutWhatIsTooLargeHiddenOrNoFile)
{
    folder.Write("largest.bin", BasicString(StaticFiles::maximumFileBytes, 'x'));
    folder.Write("larger.bin", BasicString(StaticFiles::maximumFileBytes + 1, 'x'));
    folder.Write(".hidden", "x");
    folder.Write("with space.txt", "x");
    std::filesystem::create_directory(folder.GetPath(".git"));
    folder.Write(".git/config", "x");
    std::filesystem::create_symlink("/dev/zero", folder.GetPath("zero.txt"));
    files.SetFolder("/", folder.GetPath());
    EXPECT_EQ(Ask("/largest.bin").body.size(), StaticFiles::maximumFileBytes);
    for (const char* const path :
         {"/larger.bin", "/.hidden", "/with space.txt", "/with%20space.txt", "/.git/config", "/zero.txt"})
    {
        EXPECT_EQ(Ask(path).status, 404U) << path;
    }
}

TEST_F(ServingFiles, KeepsFoldersApart)
{
    const Tests::Support::TemporaryFolder module;
    module.Write("index.html", "<module>");
    files.SetFolder("/modules/Di/", module.GetPath());
    EXPECT_EQ(Ask("/modules/Di/").body, "<module>");
    EXPECT_EQ(Ask("/").body, "<html>");
    EXPECT_EQ(Ask("/modules/Di/assets/lone.gz").status, 404U);
    files.SetFolder("/", module.GetPath());
    EXPECT_EQ(Ask("/assets/lone.gz").status, 404U) << "replaced";
    files.SetFolder("/modules/Di/", module.GetPath("missing"));
    EXPECT_EQ(Ask("/modules/Di/").status, 404U);
    EXPECT_EQ(Ask("/").body, "<module>");
}

TEST_F(ServingFiles, RefusesFoldersThatOthersCanChange)
{
    using std::filesystem::perm_options;
    using std::filesystem::perms;
    for (const char* const weak : {"assets", "assets/lone.gz", ""})
    {
        std::filesystem::permissions(folder.GetPath(weak), perms::others_write, perm_options::add);
        EXPECT_THROW(files.SetFolder("/", folder.GetPath()), InvalidOperationException) << weak;
        EXPECT_EQ(Ask("/").status, 200U) << "what was served before is still served";
        std::filesystem::permissions(folder.GetPath(weak), perms::others_write, perm_options::remove);
    }
    const Tests::Support::TemporaryFolder other;
    std::filesystem::create_symlink(other.Write("weak", "x"), folder.GetPath("link.txt"));
    files.SetFolder("/", folder.GetPath());
    EXPECT_EQ(Ask("/link.txt").body, "x");
    std::filesystem::permissions(other.GetPath("weak"), perms::others_write, perm_options::add);
    EXPECT_THROW(files.SetFolder("/", folder.GetPath()), InvalidOperationException);
    EXPECT_THROW(files.SetFolder("/x/", folder.GetPath("index.html")), InvalidOperationException) << "no folder";
}

} // namespace

} // namespace Oxa::Host
