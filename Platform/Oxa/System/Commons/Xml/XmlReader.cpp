#include "Oxa/System/Commons/Xml/XmlReader.hpp"

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Xml/IXmlSerializable.hpp"

#include <fcntl.h>
#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

namespace Oxa::System::Commons::Xml
{

IXmlSerializable::~IXmlSerializable() = default;

namespace
{

constexpr std::string_view blanks = " \t\r\n";

/// The name as it is written, and the value.
using Attribute = std::pair<BasicString, BasicString>;

/// A start tag, or a text that is not only blanks. Comments and processing instructions are left out.
struct Node
{
    bool isText = false;
    /// Where the tag begins, or the first character of the text that is not a blank. First line 1.
    int line = 1;
    /// The number of elements that contain it: 0 for the document element.
    int depth = 0;
    /// Of a start tag: whether it is written as <a/>.
    bool isEmptyElement = false;
    /// Of a start tag the name as it is written, with its prefix; of a text its beginning, for messages.
    BasicString text;
    /// Of a start tag: first declarations of namespaces, then all others.
    std::vector<Attribute> attributes;
};

/// The nodes of a document in its order, and its fault when it is not well-formed; the nodes then end before it.
struct Document
{
    /// Begins with the start tag of the document element. Never empty without a fault.
    std::vector<Node> nodes;
    /// Whether the fault, if any, lies behind the document element.
    bool isElementClosed = false;
    std::optional<XmlException> fault;
};

/// At most the given number of bytes of a regular file: a device may have no end, a pipe may block.
BasicString ReadFile(const BasicString& fileName, std::size_t maximumBytes)
{
    const auto requireSuccess = [&fileName](bool isSuccess)
    {
        if (!isSuccess)
        {
            throw XmlException::Create("cannot read '{0}': {1}", fileName, std::generic_category().message(errno));
        }
    };
    const FileDescriptor file(open(fileName.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    requireSuccess(file.IsOpen() && fstat(file.Get(), &status) == 0);
    if (!S_ISREG(status.st_mode))
    {
        throw XmlException::Create("cannot read '{0}': it is not a regular file", fileName);
    }
    BasicString text(maximumBytes, '\0');
    std::size_t length = 0;
    ssize_t count = 1;
    while (count > 0 && length < text.size())
    {
        count = read(file.Get(), text.data() + length, text.size() - length);
        requireSuccess(count >= 0);
        length += static_cast<std::size_t>(count);
    }
    text.resize(length);
    text.shrink_to_fit();
    return text;
}

std::string_view ToView(const xmlChar* text) noexcept
{
    return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
}

BasicString MakeName(const xmlChar* prefix, const xmlChar* localName)
{
    return BasicString(ToView(prefix)).append(prefix == nullptr ? "" : ":").append(ToView(localName));
}

int CountLines(std::string_view text) noexcept
{
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

/// Takes what libxml2 reports on this thread outside of a document's context, as long as it lives.
class ThreadErrorHandler final
{
public:
    ThreadErrorHandler(void* context, xmlStructuredErrorFunc handler)
        : previousContext(xmlStructuredErrorContext), previousHandler(xmlStructuredError)
    {
        xmlSetStructuredErrorFunc(context, handler);
    }

    ThreadErrorHandler(const ThreadErrorHandler&) = delete;
    ThreadErrorHandler& operator=(const ThreadErrorHandler&) = delete;

    ~ThreadErrorHandler()
    {
        xmlSetStructuredErrorFunc(previousContext, previousHandler);
    }

private:
    void* const previousContext;
    const xmlStructuredErrorFunc previousHandler;
};

/// Stores what libxml2 reports of one document, up to the first fault. libxml2's own tree is not used: it ends
/// elements that are not closed, and it has neither the line in which a tag begins nor lines beyond 65535.
class Parser final
{
public:
    Parser(std::string_view text, const BasicString& fileName)
        : text(text), fileName(fileName), context(xmlNewParserCtxt(), &xmlFreeParserCtxt)
    {
        if (!context)
        {
            throw std::bad_alloc();
        }
        xmlSAXHandler handler = {};
        handler.initialized = XML_SAX2_MAGIC;
        handler.internalSubset = &OnDocumentType;
        handler.startElementNs = &OnStartTag;
        handler.endElementNs = &OnEndTag;
        handler.characters = &OnText;
        handler.ignorableWhitespace = &OnText;
        handler.serror = &OnError;
        *context->sax = handler;
        context->userData = this;
    }

    Document Parse()
    {
        {
            // Some faults, such as bytes that the encoding does not have, belong to no context: without a handler of
            // the thread they would be printed.
            const ThreadErrorHandler errorHandler(this, &OnErrorOfTheThread);
            // NOENT: without it, "&" in an attribute comes as a reference; there are only the predefined entities.
            xmlCtxtReadMemory(context.get(), text.data(), static_cast<int>(text.size()), fileName.c_str(), nullptr,
                              XML_PARSE_NONET | XML_PARSE_NOENT);
        }
        if (failure)
        {
            std::rethrow_exception(failure);
        }
        if (!result.isElementClosed)
        {
            SetFault(1, "not well-formed XML");
        }
        return std::move(result);
    }

private:
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
                Node& node = parser.AddStartTag(MakeName(prefix, localName));
                // Each is: prefix, URI.
                for (std::size_t at = 0; at < 2 * static_cast<std::size_t>(namespaceCount); at += 2)
                {
                    const bool isDefault = namespaces[at] == nullptr;
                    node.attributes.emplace_back(isDefault ? "xmlns" : "xmlns:" + BasicString(ToView(namespaces[at])),
                                                 ToView(namespaces[at + 1]));
                }
                // Each is: local name, prefix, namespace, begin and end of the value.
                for (std::size_t at = 0; at < 5 * static_cast<std::size_t>(attributeCount); at += 5)
                {
                    node.attributes.emplace_back(MakeName(attributes[at + 1], attributes[at]),
                                                 BasicString(attributes[at + 3], attributes[at + 4]));
                }
            });
    }

    static void OnEndTag(void* self, const xmlChar*, const xmlChar*, const xmlChar*) noexcept
    {
        // An element that ends behind a fault is not closed.
        Run(self, [](Parser& parser) { parser.result.isElementClosed = --parser.depth == 0; });
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

    /// libxml2 reports these while it fills its buffer: where it stands in the document must not be asked then.
    static void OnErrorOfTheThread(void* self, xmlErrorPtr error) noexcept
    {
        if (error->level >= XML_ERR_ERROR)
        {
            Run(self, [error](Parser& parser) { parser.SetFault(parser.GetLine(), MakeMessage(*error)); });
        }
    }

    /// libxml2 has read the tag, but for its ">" or "/>".
    Node& AddStartTag(BasicString name)
    {
        const std::string_view rest = GetRest();
        const std::string_view before = text.substr(0, text.size() - rest.size());
        // "<" can occur nowhere within a tag.
        const int lineCount = CountLines(before.substr(std::min(before.rfind('<'), before.size())));
        // In UTF-16, NULs lie between the characters.
        const std::size_t next = rest.find_first_not_of('\0');
        const bool isEmptyElement = next != std::string_view::npos && rest[next] == '/';
        return result.nodes.emplace_back(
            Node{false, GetLine() - lineCount, depth++, isEmptyElement, std::move(name), {}});
    }

    /// libxml2 hands a long text over in pieces; the first that is not only blanks stands for all.
    void AddText(std::string_view piece)
    {
        constexpr std::size_t longestExcerpt = 40;
        const std::size_t start = piece.find_first_not_of(blanks);
        const Node* const last = result.nodes.empty() ? nullptr : &result.nodes.back();
        if (start == std::string_view::npos || (last != nullptr && last->isText && last->depth == depth))
        {
            return;
        }
        piece.remove_prefix(start);
        std::string_view excerpt = Text::Truncate(piece.substr(0, piece.find_first_of("\r\n")), longestExcerpt);
        excerpt = excerpt.substr(0, excerpt.find_last_not_of(blanks) + 1);
        result.nodes.push_back({true, GetLine() - CountLines(piece), depth, false, BasicString(excerpt), {}});
    }

    void TakeError(const xmlError& error)
    {
        const int line = error.line > 0 ? error.line : 1;
        // A file that was not written to its end can hold NULs from there on.
        const bool isAtEnd = GetRest().find_first_not_of('\0') == std::string_view::npos;
        if (isAtEnd && !result.isElementClosed && error.code != XML_ERR_TAG_NAME_MISMATCH)
        {
            SetFault(line, error.code == XML_ERR_DOCUMENT_EMPTY ? "the document is empty"
                                                                : "the document ends before its element is closed");
            return;
        }
        SetFault(line, MakeMessage(error));
    }

    [[nodiscard]] static BasicString MakeMessage(const xmlError& error)
    {
        BasicString message = error.message != nullptr ? error.message : "not well-formed XML";
        message.erase(message.find_last_not_of('\n') + 1);
        std::replace(message.begin(), message.end(), '\n', ' ');
        return message;
    }

    /// The document from where libxml2 stands.
    [[nodiscard]] std::string_view GetRest() const
    {
        const long offset = xmlByteConsumed(context.get());
        return offset < 0 ? std::string_view() : text.substr(std::min(static_cast<std::size_t>(offset), text.size()));
    }

    [[nodiscard]] int GetLine() const noexcept
    {
        return xmlSAX2GetLineNumber(context.get());
    }

    void SetFault(int line, std::string_view message)
    {
        if (!result.fault)
        {
            result.fault = XmlException::CreateAt(fileName, line, message);
        }
    }

    const std::string_view text;
    const BasicString& fileName;
    const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> context;
    Document result;
    int depth = 0;
    std::exception_ptr failure;
};

} // namespace

/// Stands on one node after the other; what the document holds before a fault can be read.
struct XmlReader::Implementation
{
    Implementation(std::string_view text, BasicString documentName)
        : fileName(std::move(documentName)), document(Parser(text, fileName).Parse())
    {
        if (document.nodes.empty())
        {
            throw XmlException(*document.fault);
        }
    }

    /// Null at the end of the document element.
    const Node* TryMoveOn()
    {
        if (position + 1 < document.nodes.size())
        {
            return &document.nodes[++position];
        }
        if (!document.isElementClosed)
        {
            throw XmlException(*document.fault);
        }
        return nullptr;
    }

    [[nodiscard]] const Node& GetElement() const noexcept
    {
        return document.nodes[element];
    }

    BasicString fileName;
    Document document;
    /// Indices of the present node and of the present element's start tag.
    std::size_t position = 0;
    std::size_t element = 0;
    /// The first text that the last move passed over; null: none.
    const Node* skippedText = nullptr;
};

XmlReader::XmlReader(const BasicString& fileName) : XmlReader(ReadFile(fileName, maximumBytes + 1), fileName) {}

XmlReader::XmlReader(const BasicString& text, BasicString fileName)
{
    if (text.size() > maximumBytes)
    {
        throw XmlException::Create("cannot read '{0}': it has more than {1} bytes", fileName, maximumBytes);
    }
    implementation = std::make_unique<Implementation>(text, std::move(fileName));
}

XmlReader::~XmlReader() = default;

bool XmlReader::IsEmptyElement() const
{
    return implementation->GetElement().isEmptyElement;
}

bool XmlReader::TryReadStartElement(std::string_view name)
{
    implementation->skippedText = nullptr;
    while (const Node* const node = implementation->TryMoveOn())
    {
        if (node->isText)
        {
            implementation->skippedText = implementation->skippedText != nullptr ? implementation->skippedText : node;
            continue;
        }
        implementation->element = implementation->position;
        if (name.empty() || name == GetElementLocalName())
        {
            return true;
        }
    }
    implementation->element = 0;
    return false;
}

void XmlReader::ReadEndElement()
{
    const auto& nodes = implementation->document.nodes;
    std::size_t& position = implementation->position;
    const int depth = GetDepth();
    while (position + 1 < nodes.size() && nodes[position + 1].depth > depth)
    {
        ++position;
    }
}

BasicString XmlReader::GetElementName() const
{
    return implementation->GetElement().text;
}

BasicString XmlReader::GetElementLocalName() const
{
    const BasicString& name = implementation->GetElement().text;
    return name.substr(name.find(':') + 1);
}

void XmlReader::RequireDocumentElement(std::string_view localName) const
{
    if (const BasicString name = GetElementLocalName(); name != localName)
    {
        throw XmlException::Create(*this, "the document element is '{0}', expected '{1}'", name, localName);
    }
}

int XmlReader::GetDepth() const
{
    return implementation->GetElement().depth;
}

bool XmlReader::TryGetAttributeText(std::string_view attributeName, BasicString& text) const
{
    const auto& attributes = implementation->GetElement().attributes;
    const auto found = std::ranges::find(attributes, attributeName, &Attribute::first);
    if (found == attributes.end())
    {
        return false;
    }
    text = found->second;
    return true;
}

std::vector<BasicString> XmlReader::GetAttributeNames() const
{
    std::vector<BasicString> names;
    for (const auto& [name, value] : implementation->GetElement().attributes)
    {
        names.push_back(name);
    }
    return names;
}

std::string_view XmlReader::GetSkippedText() const noexcept
{
    const Node* const node = implementation->skippedText;
    return node != nullptr ? std::string_view(node->text) : std::string_view();
}

int XmlReader::GetSkippedTextLine() const noexcept
{
    const Node* const node = implementation->skippedText;
    return node != nullptr ? node->line : 0;
}

void XmlReader::ReadToEnd()
{
    if (implementation->document.fault)
    {
        throw XmlException(*implementation->document.fault);
    }
}

int XmlReader::GetLineNumber() const
{
    return implementation->GetElement().line;
}

const BasicString& XmlReader::GetFileName() const noexcept
{
    return implementation->fileName;
}

} // namespace Oxa::System::Commons::Xml
