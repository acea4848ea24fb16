#include "Oxa/System/Commons/Xml/MultiXmlConfigDocument.hpp"

#include "Oxa/System/Commons/XmlException.hpp"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace Oxa::System::Commons::Xml
{

namespace
{

std::vector<BasicString> ListXmlFiles(const BasicString& folder)
{
    std::vector<BasicString> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
    {
        const BasicString name = entry->path().filename().string();
        if (name.ends_with(".xml") && !name.starts_with('.'))
        {
            files.push_back(entry->path().string());
        }
    }
    if (error)
    {
        throw XmlException::Create("cannot read '{0}': {1}", folder, error.message());
    }
    if (files.empty())
    {
        throw XmlException::Create("cannot read '{0}': the folder holds no *.xml file", folder);
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

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
