#include "Oxa/System/Commons/Xml/MultiXmlConfigDocument.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Xml/IXmlSerializable.hpp"
#include "Oxa/System/Commons/Xml/XmlReader.hpp"
#include "Oxa/System/Commons/Xml/XmlSerializationContext.hpp"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace Oxa::System::Commons::Xml
{

namespace
{

std::vector<BasicString> ListXmlFiles(const BasicString& folder)
{
    std::vector<BasicString> files;
    try
    {
        for (const auto& entry : std::filesystem::directory_iterator(folder))
        {
            const BasicString name = entry.path().filename().string();
            if (name.ends_with(".xml") && !name.starts_with('.'))
            {
                files.push_back(entry.path().string());
            }
        }
    }
    catch (const std::filesystem::filesystem_error& error)
    {
        throw XmlException::Create("cannot read '{0}': {1}", folder, error.code().message());
    }
    if (files.empty())
    {
        throw XmlException::Create("cannot read '{0}': the folder holds no *.xml file", folder);
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

XmlConfigDocument::XmlConfigDocument(BasicString documentElementName, IXmlSerializable& root)
    : documentElementName(std::move(documentElementName)), root(root)
{
}

XmlConfigDocument::~XmlConfigDocument() = default;

void XmlConfigDocument::Load(const BasicString& path)
{
    XmlReader reader(path);
    reader.RequireDocumentElement(documentElementName);
    XmlSerializationContext context(Singleton<AppDomain>::TryGetInstance());
    try
    {
        root.ReadXml(reader, context);
    }
    catch (XmlException& exception)
    {
        exception.AddReadingPosition(reader);
        throw;
    }
    reader.ReadToEnd();
}

MultiXmlConfigDocument::~MultiXmlConfigDocument() = default;

std::vector<BasicString> MultiXmlConfigDocument::ListFiles(const BasicString& path)
{
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored) ? ListXmlFiles(path) : std::vector{path};
}

void MultiXmlConfigDocument::Load(const BasicString& path)
{
    for (const BasicString& file : ListFiles(path))
    {
        XmlConfigDocument::Load(file);
    }
}

} // namespace Oxa::System::Commons::Xml
