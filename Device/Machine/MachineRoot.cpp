#include "Device/Machine/MachineRoot.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"

#include <filesystem>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Machine
{

MachineRoot::MachineRoot(BasicString folder) : folder(std::move(folder))
{
    std::error_code error;
    if (!std::filesystem::is_directory(this->folder, error))
    {
        throw System::Commons::ArgumentException::Create("root", this->folder,
                                                         error ? error.message() : BasicString("Not a folder"));
    }
    while (this->folder.ends_with('/'))
    {
        this->folder.pop_back();
    }
}

bool MachineRoot::IsRunningMachine() const noexcept
{
    return folder.empty();
}

BasicString MachineRoot::Resolve(std::string_view path) const
{
    return folder + BasicString(path);
}

} // namespace Oxa::Device::Linux::Machine
