#include "Oxa/System/Um/Internal/PasswordPolicy.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <algorithm>

namespace Oxa::System::Um::Internal
{

using System::Commons::ArgumentException;
namespace Text = System::Commons::Text;

void CheckNewPassword(std::string_view userName, std::string_view password)
{
    (void)userName;
    if (password.empty() || password.size() > maximumPasswordBytes)
    {
        throw ArgumentException(
            Text::Format("The argument 'password' is not valid. It must have 1 to {0} bytes.", maximumPasswordBytes));
    }
}

} // namespace Oxa::System::Um::Internal
