#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/Xml/XmlReader.hpp"
#include "Oxa/System/Commons/Xml/XmlSerializationContext.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <algorithm>
#include <chrono>
#include <concepts>
#include <functional>
#include <initializer_list>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace Oxa::System::Commons::Xml
{

/// Takes the problems of documents: the first one is thrown, for a document that is to be used, or the texts of all
/// are collected, for one that is checked. Threads: one at a time.
class OXA_EXPORT XmlProblems final
{
public:
    enum class Reaction
    {
        Throw,
        Collect
    };

    explicit XmlProblems(Reaction reaction) noexcept : reaction(reaction) {}

    /// Throws the problem or keeps its text; of very many, the first 1000 and a note that there are more.
    void Report(const XmlException& problem);

    /// In the order in which they were found.
    [[nodiscard]] const std::vector<BasicString>& GetMessages() const noexcept
    {
        return messages;
    }

private:
    const Reaction reaction;
    std::vector<BasicString> messages;
};

/// Reads one element of a document strictly: first its attributes, then its children. Every problem is reported with
/// file and line, the value that was to be read then stays as it was, and reading goes on when problems are collected.
/// Attributes and children that are not read are reported as unknown, and so are texts; names are compared as they are
/// written, with their prefixes. Placeholders in attributes are resolved.
/// Borrows all it is made from; attributes can be read until the reader moves on to the first child.
class OXA_EXPORT XmlElementReader final
{
public:
    using ReadFunction = std::function<void(XmlElementReader&)>;

    enum class Count
    {
        One,
        Many
    };

    /// A child that an element may have, and how often.
    struct Child
    {
        std::string_view name;
        ReadFunction read;
        Count count = Count::One;
    };

    /// Calls `read` for the document element. Placeholders resolve from the process's application domain, when there is
    /// one, and the environment. Always throws XmlException when the document has another
    /// document element or is not well-formed.
    static void ReadDocument(XmlReader& reader, std::string_view documentElementName, XmlProblems& problems,
                             const ReadFunction& read);

    /// The same for a file. Every problem is an XmlException.
    static void ReadFile(const BasicString& path, std::string_view documentElementName, const ReadFunction& read);

    XmlElementReader(const XmlElementReader&) = delete;
    XmlElementReader& operator=(const XmlElementReader&) = delete;

    [[nodiscard]] const BasicString& GetName() const noexcept
    {
        return name;
    }

    [[nodiscard]] const BasicString& GetFileName() const noexcept
    {
        return reader.GetFileName();
    }

    [[nodiscard]] int GetLine() const noexcept
    {
        return line;
    }

    /// "FILE:LINE" of the element.
    [[nodiscard]] BasicString GetPosition() const;

    [[nodiscard]] bool Has(std::string_view attributeName) const;

    /// Whether the attribute's value has been reported. What depends on it cannot be judged then.
    [[nodiscard]] bool IsBad(std::string_view attributeName) const noexcept;

    /// For an attribute that must be there but may be empty. False when it is missing.
    bool RequirePresent(std::string_view attributeName);

    /// All that read: true when the attribute is there and has no problem.
    bool Read(std::string_view attributeName, BasicString& value);
    /// For an attribute that must be there and not be empty.
    bool ReadRequired(std::string_view attributeName, BasicString& value);
    /// "true" or "false".
    bool Read(std::string_view attributeName, bool& value);
    /// A finite decimal number.
    bool Read(std::string_view attributeName, double& value, double minimum = std::numeric_limits<double>::lowest(),
              double maximum = std::numeric_limits<double>::max());

    /// A whole number in decimal digits.
    template <std::unsigned_integral T>
    bool Read(std::string_view attributeName, T& value, uint64 minimum, uint64 maximum)
    {
        uint64 number = value;
        const bool isRead = ReadWhole(attributeName, number, minimum, maximum);
        value = static_cast<T>(number);
        return isRead;
    }

    template <class Rep, class Period>
    bool Read(std::string_view attributeName, std::chrono::duration<Rep, Period>& value,
              std::type_identity_t<std::chrono::duration<Rep, Period>> minimum,
              std::type_identity_t<std::chrono::duration<Rep, Period>> maximum)
    {
        auto count = static_cast<uint64>(value.count());
        const bool isRead =
            Read(attributeName, count, static_cast<uint64>(minimum.count()), static_cast<uint64>(maximum.count()));
        value = std::chrono::duration<Rep, Period>(count);
        return isRead;
    }

    /// One word of several.
    template <class Value>
    bool ReadChoice(std::string_view attributeName, std::initializer_list<std::pair<std::string_view, Value>> choices,
                    Value& value)
    {
        BasicString text;
        if (!Read(attributeName, text))
        {
            return false;
        }
        BasicString words;
        for (const auto& [word, meaning] : choices)
        {
            if (text == word)
            {
                value = meaning;
                return true;
            }
            words.append(words.empty() ? "" : ", ").append(word);
        }
        ReportBadValue(attributeName, text, "one of: " + words);
        return false;
    }

    /// For attributes that belong to other words of a choice: reports those that are there. `word`: the choice's.
    void RefuseWith(std::string_view choiceName, std::string_view word,
                    std::initializer_list<std::string_view> attributeNames);

    /// For attributes that cannot be judged, because what they depend on is wrong.
    void Ignore(std::initializer_list<std::string_view> attributeNames);

    /// For a name that must differ from those of the elements before, which are members of `items`.
    template <class Items, class Member>
    void RequireNew(std::string_view attributeName, const BasicString& name, const Items& items, Member member)
    {
        if (std::ranges::find(items, name, member) != std::ranges::end(items))
        {
            ReportBadValue(attributeName, name, "a name that is not taken");
        }
    }

    /// "the attribute 'x' of the element 'y' is 'z', expected …"
    void ReportBadValue(std::string_view attributeName, std::string_view value, std::string_view expected);

    /// Reports the element as unknown and skips it.
    void ReportUnknown();

    /// Moves on behind the element; what it holds is not read.
    void Skip();

    template <class... Args>
    void Report(std::string_view messageTemplate, const Args&... args)
    {
        problems.Report(XmlException::CreateAt(GetFileName(), line, Text::Format(messageTemplate, args...)));
    }

    /// Calls `readChild` for every child and moves on behind the element. An element without a call of this or of the
    /// next two functions may not have children.
    void ForEachChild(const ReadFunction& readChild);

    /// The same with a function for each name; reports other children, and repetitions of those that occur once. False
    /// when there are none of these names.
    bool ReadChildren(std::initializer_list<Child> children);

    /// The same for any number of children of one name.
    void ReadList(std::string_view childName, const ReadFunction& read);

private:
    XmlElementReader(XmlReader& reader, XmlSerializationContext& context, XmlProblems& problems);

    bool ReadWhole(std::string_view attributeName, uint64& value, uint64 minimum, uint64 maximum);
    /// Calls `read` for the element that the reader stands on, which ends behind it.
    void ReadWith(const ReadFunction& read);
    void MoveOn();
    void ReportUnreadAttributes();

    XmlReader& reader;
    XmlSerializationContext& context;
    XmlProblems& problems;
    const BasicString name;
    const int line;
    const int depth;
    bool areChildrenRead = false;
    std::vector<BasicString> knownNames;
    std::vector<BasicString> badNames;
};

} // namespace Oxa::System::Commons::Xml
