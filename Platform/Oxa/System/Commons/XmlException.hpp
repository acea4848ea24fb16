#pragma once

#include "Oxa/System/Commons/Exception.hpp"

namespace Oxa::System::Commons
{

namespace Xml
{
class XmlReader;
}

/// A settings or configuration document cannot be read or has a mistake.
class OXA_EXPORT XmlException final : public FormattedException<XmlException>
{
public:
    /// {0} the cause, {1} file name, {2} line number, first line 1.
    static const char* const fileLineMessage;

    using FormattedException::Create;
    using FormattedException::FormattedException;
    ~XmlException() override;

    /// The text is the filled template, combined with the reader's file and line through `fileLineMessage`.
    template <class... Args>
    [[nodiscard]] static XmlException Create(const Xml::XmlReader& reader, std::string_view messageTemplate,
                                             const Args&... args)
    {
        return CreateAtPosition(reader, Text::Format(messageTemplate, args...));
    }

    [[nodiscard]] static XmlException CreateAt(const BasicString& fileName, int lineNumber, std::string_view message);

    /// For a report to people: the text, behind "FILE:LINE: " when it names no position itself but one was added.
    [[nodiscard]] BasicString GetMessageWithPosition() const;

    /// Adds the reader's position; the text stays as it was created.
    void AddReadingPosition(const Xml::XmlReader& reader);

private:
    [[nodiscard]] static XmlException CreateAtPosition(const Xml::XmlReader& reader, std::string_view message);

    bool hasPositionInText = false;
    std::shared_ptr<const BasicString> readingPosition;
};

} // namespace Oxa::System::Commons
