#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Host
{

/// The folder of what the host keeps. Throws InvalidOperationException, with path and cause, when it cannot be used.
class StateFolder final
{
public:
    /// Makes the folder, for its owner only, when there is none.
    explicit StateFolder(BasicString newPath);

    [[nodiscard]] const BasicString& GetPath() const noexcept
    {
        return path;
    }

    [[nodiscard]] BasicString GetInitialPasswordPath() const;

    /// Readable by the owner only, from the first moment. Replaces an earlier one.
    void WriteInitialPassword(const BasicString& password) const;

    /// Nothing happens when there is none.
    void RemoveInitialPassword() const noexcept;

private:
    BasicString path;
};

} // namespace Oxa::Host
