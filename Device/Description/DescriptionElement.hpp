#pragma once

#include "Device/Description/DescriptionProblems.hpp"
#include "Device/Items/ItemReading.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"
#include "Oxa/System/Commons/Xml/XmlReader.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Oxa/System/Rsc/RscType.hpp"

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

    void Read(std::string_view attributeName, BasicString& value);
    /// For an attribute that must be there and not be empty.
    void ReadRequired(std::string_view attributeName, BasicString& value);
    void Read(std::string_view attributeName, bool& value);
    /// Finite, with a decimal point or without.
    void Read(std::string_view attributeName, double& value);
    void Read(std::string_view attributeName, double& value, double minimum, double maximum);
    void Read(std::string_view attributeName, std::size_t& value, std::size_t minimum, std::size_t maximum);

    /// One word of several. True when the attribute is there and is one of them.
    template <class Value>
    bool ReadChoice(std::string_view attributeName, std::initializer_list<std::pair<std::string_view, Value>> choices,
                    Value& value)
    {
        BasicString text;
        Read(attributeName, text);
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
        if (Has(attributeName))
        {
            ReportBadValue(attributeName, text, "one of: " + words);
        }
        return false;
    }

    /// An absolute path. One with ".." in it is a mistake: it could lead out of the folder that stands for the machine.
    void ReadPath(std::string_view attributeName, BasicString& path);

    /// What was read of an attribute as a value of the item's type, else as a text; not set when it is none or is too
    /// long for a value.
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

    System::Commons::Xml::XmlReader& reader;
    const System::Commons::Xml::XmlElementReader attributes;
    DescriptionProblems& problems;
    std::optional<System::Rsc::RscType> itemType;
    bool isForEachCore = false;
    std::vector<BasicString> knownNames;
};

} // namespace Oxa::Device::Linux::Description
