#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <array>

namespace Oxa::System::Nm
{
struct Notification;
}

namespace Oxa::System::Um
{
class UserManager;
}

namespace Oxa::Host
{

inline constexpr const char* initialUserName = "admin";

/// The folder of what the host keeps, and in it the password of the initial user. When it cannot be used: throws, with
/// path and cause, TemporaryException for a cause that may pass, else InvalidOperationException.
class StateFolder final
{
public:
    explicit StateFolder(BasicString newPath);

    /// Makes the folder, for its owner only, when it does not exist; then as `Check`.
    void Create() const;

    /// Throws ConfigurationException, with path and cause, when users other than root and the one of this process could
    /// change the folder, or what is in it, or read it.
    void Check() const;

    /// Creates the initial user, unless an active user has the role "Admin" or a user that name: a user that may do
    /// everything, with a password of its own, which must be changed at the first log-in. False when no user was
    /// created. Safe when several processes start at the same time.
    [[nodiscard]] bool CreateInitialUser(System::Um::UserManager& users) const;

    [[nodiscard]] const BasicString& GetPath() const noexcept
    {
        return path;
    }

    [[nodiscard]] const BasicString& GetInitialPasswordPath() const noexcept
    {
        return initialPasswordPath;
    }

    /// Empty when the file no longer exists, or when this user may not read it.
    [[nodiscard]] BasicString ReadInitialPassword() const;

    /// The key that signs the cookies of known browsers: kept in the folder, or only until the process ends when the
    /// folder cannot be written.
    [[nodiscard]] std::array<unsigned char, 32> GetBrowserKey() const noexcept;

    /// Removes the file when the initial user was removed or has got another password.
    void Notice(const System::Nm::Notification& notification) const;

private:
    void WriteInitialPassword(const BasicString& password) const;

    const BasicString path;
    const BasicString initialPasswordPath;
};

/// As `StateFolder::Check`, of the files of a user database, which exists.
void CheckUserDatabase(const BasicString& path);

} // namespace Oxa::Host
