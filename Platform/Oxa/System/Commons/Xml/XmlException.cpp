#include "Oxa/System/Commons/XmlException.hpp"

#include "Oxa/System/Commons/Xml/XmlReader.hpp"

namespace Oxa::System::Commons
{

const char* const XmlException::fileLineMessage = "{1}:{2}: {0}";

XmlException::~XmlException() = default;

XmlException XmlException::CreateAt(const BasicString& fileName, int lineNumber, std::string_view message)
{
    XmlException exception(Text::Format(fileLineMessage, message, fileName, lineNumber));
    exception.hasPositionInText = true;
    return exception;
}

XmlException XmlException::CreateAtPosition(const Xml::XmlReader& reader, std::string_view message)
{
    return CreateAt(reader.GetFileName(), reader.GetLineNumber(), message);
}

BasicString XmlException::GetMessageWithPosition() const
{
    return readingPosition ? *readingPosition + ": " + GetMessage() : GetMessage();
}

void XmlException::AddReadingPosition(const Xml::XmlReader& reader)
{
    if (!hasPositionInText)
    {
        readingPosition =
            std::make_shared<const BasicString>(Text::Format("{0}:{1}", reader.GetFileName(), reader.GetLineNumber()));
    }
}

} // namespace Oxa::System::Commons
