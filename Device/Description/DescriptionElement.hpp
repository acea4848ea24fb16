#pragma once

#include "Device/Description/DescriptionProblems.hpp"
#include "Device/Items/IItemSource.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"
#include "Oxa/System/Commons/Xml/XmlReader.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

#include <chrono>
#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace Oxa::Device::Linux::Description
{

/// One element of a description while the reader stands on it. Whatever is wrong is reported with file and line; the
/// value that was to be read then stays as it was, and reading goes on when problems are gathered. An attribute that
/// nobody asked for is one that the element has not got.
/// Borrows all it is made from; valid until the reader moves on.
class DescriptionElement final
{
public:
    DescriptionElement(System::Commons::Xml::XmlReader& reader, System::Commons::Xml::XmlSerializationContext& context,
                       DescriptionProblems& problems);
    DescriptionElement(const DescriptionElement&) = delete;
    DescriptionElement& operator=(const DescriptionElement&) = delete;

    [[nodiscard]] BasicString GetName() const;

    /// The type of the item that the element is the source of; none when any type will do.
    [[nodiscard]] std::optional<System::Rsc::RscType> GetItemType() const noexcept;
    void SetItemType(std::optional<System::Rsc::RscType> type) noexcept;

    /// Whether there is one such source, and one item of it, for each core.
    [[nodiscard]] bool IsForEachCore() const noexcept;
    void SetForEachCore() noexcept;

    [[nodiscard]] bool Has(std::string_view attributeName) const;

    /// Whether something has been reported of the attribute's value. What depends on it cannot be judged then.
    [[nodiscard]] bool IsBad(std::string_view attributeName) const noexcept;

    /// For an attribute that must be there but may be empty. False when it is missing.
    bool RequirePresent(std::string_view attributeName);

    /// All that read: true when the attribute is there and nothing was wrong with it.
    bool Read(std::string_view attributeName, BasicString& value);
    /// For an attribute that must be there and not be empty.
    bool ReadRequired(std::string_view attributeName, BasicString& value);
    bool Read(std::string_view attributeName, bool& value);
    /// Finite, with a decimal point or without.
    bool Read(std::string_view attributeName, double& value);
    bool Read(std::string_view attributeName, double& value, double minimum, double maximum);
    bool Read(std::string_view attributeName, std::size_t& value, std::size_t minimum, std::size_t maximum);
    bool Read(std::string_view attributeName, std::chrono::milliseconds& value, std::chrono::milliseconds minimum,
              std::chrono::milliseconds maximum);

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

    /// For attributes that go with other words of a choice only: reports those that are there. `word`: the choice's.
    void RefuseWith(std::string_view choiceName, std::string_view word,
                    std::initializer_list<std::string_view> attributeNames);
    /// For attributes that go with another attribute only, which is not there: reports those that are there.
    void RefuseWithout(std::string_view otherName, std::initializer_list<std::string_view> attributeNames);
    /// For attributes that cannot be judged, because what they depend on is wrong: they are not looked at.
    void Accept(std::initializer_list<std::string_view> attributeNames);

    /// An absolute path. One with ".." in it is a mistake: it could lead out of the folder that stands for the machine.
    bool ReadPath(std::string_view attributeName, BasicString& path);

    /// What was read of an attribute as a value of the item's type, else as a text; not set when it is none or is too
    /// long for a value. Requires: the attribute has been read, and nothing was wrong with it.
    [[nodiscard]] Items::ItemValue ParseValue(std::string_view attributeName, std::string_view text);

    /// "the attribute 'x' of the element 'y' is 'z', expected …"
    void ReportBadValue(std::string_view attributeName, std::string_view value, std::string_view expected);
    void ReportUnknown();

    template <class... Args>
    void Report(std::string_view messageTemplate, const Args&... args)
    {
        problems.Report(System::Commons::XmlException::Create(reader, messageTemplate, args...));
    }

    /// Reports every attribute that nobody has asked for.
    void ReportOthers();

private:
    void Expect(std::string_view attributeName);

    /// Reads the attribute and notes when something is wrong with it.
    template <class Action>
    bool TryRead(std::string_view attributeName, const Action& action)
    {
        Expect(attributeName);
        if (!problems.Try(action))
        {
            badNames.emplace_back(attributeName);
            return false;
        }
        return Has(attributeName);
    }

    System::Commons::Xml::XmlReader& reader;
    const System::Commons::Xml::XmlElementReader attributes;
    DescriptionProblems& problems;
    std::optional<System::Rsc::RscType> itemType;
    bool isForEachCore = false;
    std::vector<BasicString> knownNames;
    std::vector<BasicString> badNames;
};

} // namespace Oxa::Device::Linux::Description
