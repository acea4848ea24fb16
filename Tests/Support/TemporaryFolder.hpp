#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace Oxa::Tests::Support
{

/// A folder that is there as long as this object.
class TemporaryFolder final
{
public:
    TemporaryFolder()
    {
        BasicString name = (std::filesystem::temp_directory_path() / "oxa-test-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
        {
            throw std::runtime_error("cannot make a temporary folder");
        }
        path = name;
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    [[nodiscard]] BasicString GetPath(std::string_view name = {}) const
    {
        return name.empty() ? path.string() : (path / name).string();
    }

    /// The file's path.
    BasicString Write(std::string_view name, std::string_view text) const
    {
        std::ofstream(path / name) << text;
        return GetPath(name);
    }

    [[nodiscard]] BasicString Read(std::string_view name) const
    {
        std::ostringstream text;
        text << std::ifstream(path / name).rdbuf();
        return text.str();
    }

private:
    std::filesystem::path path;
};

} // namespace Oxa::Tests::Support
