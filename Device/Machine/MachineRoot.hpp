#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::Device::Linux::Machine
{

/// The root folder of the machine's files: "/" for the machine that this process runs on, any other for a machine that
/// is a folder of files. A value type.
class MachineRoot final
{
public:
    /// Throws ArgumentException when it is not a folder.
    explicit MachineRoot(BasicString folder);

    /// Whether this is the machine that the process runs on.
    [[nodiscard]] bool IsRunningMachine() const noexcept;

    /// `path`: absolute, as seen on the machine.
    [[nodiscard]] BasicString Resolve(std::string_view path) const;

private:
    /// Without '/' at its end.
    BasicString folder;
};

} // namespace Oxa::Device::Linux::Machine
