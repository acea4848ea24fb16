#include "Oxa/System/Commons/XmlException.hpp"

#include "Oxa/System/Commons/Xml/XmlReader.hpp"

#include <utility>

namespace Oxa::System::Commons
{

const char* const XmlException::fileLineMessage = "{1}:{2}: {0}";

XmlException::XmlException(const XmlException&) noexcept = default;

XmlException& XmlException::operator=(const XmlException&) noexcept = default;

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

const BasicString& XmlException::GetReadingPosition() const noexcept
{
    static const BasicString none;
    return readingPosition ? *readingPosition : none;
}

void XmlException::SetReadingPosition(BasicString position)
{
    readingPosition = std::make_shared<const BasicString>(std::move(position));
}

bool XmlException::HasPositionInText() const noexcept
{
    return hasPositionInText;
}

} // namespace Oxa::System::Commons
