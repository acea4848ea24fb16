#pragma once

#include "Device/Description/DescriptionElement.hpp"
#include "Device/Description/DescriptionProblems.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"
#include "Oxa/System/Commons/Xml/XmlReader.hpp"
#include "Oxa/System/Commons/Xml/XmlSerializationContext.hpp"

namespace Oxa::Device::Linux::Description
{

/// The place in a document that is being read: stands on one start tag after the other. Borrows all it is made from.
/// Threads: one at a time.
class DescriptionCursor final
{
public:
    DescriptionCursor(System::Commons::Xml::XmlReader& reader, System::Commons::Xml::XmlSerializationContext& context,
                      DescriptionProblems& problems)
        : reader(reader), context(context), problems(problems)
    {
    }

    DescriptionCursor(const DescriptionCursor&) = delete;
    DescriptionCursor& operator=(const DescriptionCursor&) = delete;

    /// The element that the cursor stands on.
    [[nodiscard]] DescriptionElement GetElement() const
    {
        return {reader, context, problems};
    }

    [[nodiscard]] int GetLine() const
    {
        return reader.GetLineNumber();
    }

    [[nodiscard]] const BasicString& GetFileName() const noexcept
    {
        return reader.GetFileName();
    }

    /// Calls `readChild` on every element that lies directly in the present one and moves on behind it. `readChild`
    /// has to call `ForEachChild` or `RefuseChildren` for its element.
    template <class ReadChild>
    void ForEachChild(const ReadChild& readChild)
    {
        const int depth = reader.GetDepth();
        MoveOn();
        while (isOnElement && reader.GetDepth() > depth)
        {
            readChild();
        }
    }

    /// Reports every element in the present one and moves on behind it.
    void RefuseChildren()
    {
        ForEachChild(
            [this]
            {
                GetElement().ReportUnknown();
                Skip();
            });
    }

    /// Moves on behind the present element with all it holds.
    void Skip()
    {
        reader.ReadEndElement();
        MoveOn();
    }

    /// What is wrong with an element that has been left.
    template <class... Args>
    void ReportAt(int line, std::string_view messageTemplate, const Args&... args)
    {
        problems.Report(System::Commons::XmlException::CreateAt(
            reader.GetFileName(), line, System::Commons::Text::Format(messageTemplate, args...)));
    }

private:
    void MoveOn()
    {
        isOnElement = reader.TryReadStartElement();
        problems.Try([this] { System::Commons::Xml::XmlElementReader(reader, context).RequireNoSkippedText(); });
    }

    System::Commons::Xml::XmlReader& reader;
    System::Commons::Xml::XmlSerializationContext& context;
    DescriptionProblems& problems;
    bool isOnElement = true;
};

} // namespace Oxa::Device::Linux::Description
