#include "Oxa/System/Commons/Xml/Internal/XmlNodes.hpp"

#include <libxml/parser.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <memory>
#include <new>

namespace Oxa::System::Commons::Xml::Internal
{

namespace
{

constexpr std::string_view blanks = " \t\r\n";

struct FreeContext
{
    void operator()(xmlParserCtxt* context) const noexcept
    {
        xmlFreeParserCtxt(context);
    }
};

std::string_view ToView(const xmlChar* text) noexcept
{
    return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
}

BasicString MakeName(const xmlChar* prefix, const xmlChar* localName)
{
    return prefix == nullptr ? BasicString(ToView(localName))
                             : BasicString(ToView(prefix)).append(":").append(ToView(localName));
}

int CountLines(std::string_view text) noexcept
{
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

/// Takes what libxml2 finds in one document. Nothing is taken any more once something is wrong.
class Parser final
{
public:
    Parser(std::string_view text, const BasicString& fileName)
        : text(text), fileName(fileName), context(xmlNewParserCtxt())
    {
        if (!context)
        {
            throw std::bad_alloc();
        }
        *context->sax = MakeHandler();
        context->userData = this;
    }

    XmlNodes Parse()
    {
        // Without handlers that build a tree there is none to free. NOENT: without it, "&" in an attribute comes as a
        // reference; there are no entities but the predefined ones.
        xmlCtxtReadMemory(context.get(), text.data(), static_cast<int>(text.size()), fileName.c_str(), nullptr,
                          XML_PARSE_NONET | XML_PARSE_NOENT);
        if (failure)
        {
            std::rethrow_exception(failure);
        }
        if (!result.fault && (context->wellFormed == 0 || result.nodes.empty()))
        {
            SetFault(1, "not well-formed XML");
        }
        return std::move(result);
    }

private:
    static xmlSAXHandler MakeHandler() noexcept
    {
        xmlSAXHandler handler = {};
        handler.initialized = XML_SAX2_MAGIC;
        handler.internalSubset = &OnDocumentType;
        handler.startElementNs = &OnStartTag;
        handler.endElementNs = &OnEndTag;
        handler.characters = &OnText;
        handler.ignorableWhitespace = &OnText;
        handler.serror = &OnError;
        return handler;
    }

    /// No exception may pass through the functions of libxml2.
    template <class Action>
    static void Run(void* self, const Action& action) noexcept
    {
        auto& parser = *static_cast<Parser*>(self);
        if (parser.result.fault || parser.failure)
        {
            return;
        }
        try
        {
            action(parser);
        }
        catch (...)
        {
            parser.failure = std::current_exception();
        }
    }

    static void OnDocumentType(void* self, const xmlChar*, const xmlChar*, const xmlChar*) noexcept
    {
        Run(self,
            [](Parser& parser) { parser.SetFault(parser.GetLine(), "document type declarations are not allowed"); });
        // Before anything that the declaration holds is looked at.
        xmlStopParser(static_cast<Parser*>(self)->context.get());
    }

    static void OnStartTag(void* self, const xmlChar* localName, const xmlChar* prefix, const xmlChar* /*uri*/,
                           int namespaceCount, const xmlChar** namespaces, int attributeCount, int /*defaultedCount*/,
                           const xmlChar** attributes) noexcept
    {
        Run(self,
            [=](Parser& parser)
            {
                XmlNode& node = parser.AddStartTag(MakeName(prefix, localName));
                AddNamespaces(node, namespaces, static_cast<std::size_t>(namespaceCount));
                AddAttributes(node, attributes, static_cast<std::size_t>(attributeCount));
            });
    }

    static void OnEndTag(void* self, const xmlChar*, const xmlChar*, const xmlChar*) noexcept
    {
        Run(self, [](Parser& parser) { parser.AddEndTag(); });
    }

    static void OnText(void* self, const xmlChar* characters, int length) noexcept
    {
        const std::string_view piece(reinterpret_cast<const char*>(characters), static_cast<std::size_t>(length));
        Run(self, [piece](Parser& parser) { parser.AddText(piece); });
    }

    static void OnError(void* self, xmlErrorPtr error) noexcept
    {
        if (error->level >= XML_ERR_ERROR)
        {
            Run(self, [error](Parser& parser) { parser.TakeError(*error); });
        }
    }

    /// libxml2 has just read the tag, but for its ">" or "/>".
    XmlNode& AddStartTag(BasicString name)
    {
        const xmlParserInput& input = *context->input;
        const xmlChar* begin = input.cur;
        // "<" can occur nowhere within a tag.
        while (begin > input.base && *begin != '<')
        {
            --begin;
        }
        const std::string_view tag(reinterpret_cast<const char*>(begin), static_cast<std::size_t>(input.cur - begin));
        return result.nodes.emplace_back(XmlNode{
            XmlNode::Kind::StartTag, GetLine() - CountLines(tag), depth++, *input.cur == '/', std::move(name), {}});
    }

    void AddEndTag()
    {
        result.nodes.push_back({XmlNode::Kind::EndTag, GetLine(), --depth, false, {}, {}});
    }

    static void AddNamespaces(XmlNode& node, const xmlChar** namespaces, std::size_t count)
    {
        for (std::size_t at = 0; at < 2 * count; at += 2)
        {
            node.attributes.emplace_back(namespaces[at] == nullptr ? "xmlns"
                                                                   : "xmlns:" + BasicString(ToView(namespaces[at])),
                                         ToView(namespaces[at + 1]));
        }
    }

    static void AddAttributes(XmlNode& node, const xmlChar** attributes, std::size_t count)
    {
        // Each is: local name, prefix, namespace, begin and end of the value.
        for (std::size_t at = 0; at < 5 * count; at += 5)
        {
            node.attributes.emplace_back(MakeName(attributes[at + 1], attributes[at]),
                                         BasicString(attributes[at + 3], attributes[at + 4]));
        }
    }

    /// libxml2 hands a long text over in pieces; the first that is more than blanks stands for all.
    void AddText(std::string_view piece)
    {
        constexpr std::size_t longestExcerpt = 40;
        const std::size_t start = piece.find_first_not_of(blanks);
        if (start == std::string_view::npos ||
            (!result.nodes.empty() && result.nodes.back().kind == XmlNode::Kind::Text))
        {
            return;
        }
        piece.remove_prefix(start);
        const std::string_view excerpt = Text::Truncate(piece.substr(0, piece.find_first_of("\r\n")), longestExcerpt);
        result.nodes.push_back({XmlNode::Kind::Text,
                                GetLine() - CountLines(piece),
                                depth,
                                false,
                                BasicString(excerpt.substr(0, excerpt.find_last_not_of(blanks) + 1)),
                                {}});
    }

    void TakeError(const xmlError& error)
    {
        const int line = error.line > 0 ? error.line : 1;
        const bool isClosed = depth == 0 && !result.nodes.empty();
        if (IsAtEnd() && !isClosed && error.code != XML_ERR_TAG_NAME_MISMATCH)
        {
            SetFault(line, error.code == XML_ERR_DOCUMENT_EMPTY ? "the document is empty"
                                                                : "the document ends before its element is closed");
            return;
        }
        BasicString message = error.message != nullptr ? error.message : "not well-formed XML";
        message.erase(message.find_last_not_of('\n') + 1);
        std::replace(message.begin(), message.end(), '\n', ' ');
        SetFault(line, message);
    }

    /// A file that was not written to its end can hold NULs from there on.
    [[nodiscard]] bool IsAtEnd() const noexcept
    {
        const xmlParserInput* const input = context->input;
        return input == nullptr || input->cur >= input->end || *input->cur == 0;
    }

    [[nodiscard]] int GetLine() const noexcept
    {
        return context->input->line;
    }

    void SetFault(int line, std::string_view message)
    {
        result.fault = XmlException::CreateAt(fileName, line, message);
    }

    std::string_view text;
    const BasicString& fileName;
    std::unique_ptr<xmlParserCtxt, FreeContext> context;
    XmlNodes result;
    int depth = 0;
    std::exception_ptr failure;
};

} // namespace

XmlNodes ParseXml(std::string_view text, const BasicString& fileName)
{
    return Parser(text, fileName).Parse();
}

} // namespace Oxa::System::Commons::Xml::Internal
