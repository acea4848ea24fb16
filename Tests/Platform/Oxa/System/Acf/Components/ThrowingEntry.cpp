#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"

#include <exception>

namespace
{

/// Its code is in this library: it must not be used after the library is closed.
class EntryException final : public std::exception
{
public:
    [[nodiscard]] const char* what() const noexcept override
    {
        return "no component\ntoday";
    }
};

} // namespace

extern "C" OXA_EXPORT Oxa::System::Acf::ComponentLibraryBase& CreateComponentLibrary(Oxa::System::Commons::AppDomain&)
{
    throw EntryException();
}
