#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace Oxa::System::Commons::Xml::Internal
{

/// A tag of a document, or a text that is more than blanks.
struct XmlNode
{
    enum class Kind
    {
        StartTag,
        EndTag,
        Text
    };

    Kind kind = Kind::StartTag;
    /// Where the tag begins, or the first character of the text that is no blank. First line 1.
    int line = 1;
    /// How many elements a tag's element lies in: 0 for the document element. A text: those that it lies in.
    int depth = 0;
    /// Of a start tag: whether it is written as <a/>; an end tag follows all the same.
    bool isEmptyElement = false;
    /// Of a start tag the name as it is written, with its prefix; of a text its beginning, for messages; else empty.
    BasicString text;
    /// Of a start tag, with the names as they are written: first declarations of namespaces, then all others.
    std::vector<std::pair<BasicString, BasicString>> attributes;
};

/// What a document holds in the order in which it is written; comments and processing instructions are left out.
struct XmlNodes
{
    /// Starts with the start tag of the document element. Never empty when there is no fault.
    std::vector<XmlNode> nodes;
    /// Why the document is not well-formed, with file and line; `nodes` then ends before that place.
    std::optional<XmlException> fault;
};

/// `fileName` is for messages only. The text may be hostile: document type declarations are a fault, so there are no
/// entities but the predefined ones, and nothing is fetched. Needs a multiple of the memory that the text takes.
/// Threads: safe from several threads.
[[nodiscard]] XmlNodes ParseXml(std::string_view text, const BasicString& fileName);

} // namespace Oxa::System::Commons::Xml::Internal
