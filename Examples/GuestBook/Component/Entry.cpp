#include "GuestBookComponent.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Export.hpp"

#include <memory>

namespace
{

using Oxa::System::Acf::ComponentLibraryBase;
using Oxa::System::Acf::IComponent;

std::unique_ptr<IComponent> CreateGuestBookComponent()
{
    return std::make_unique<GuestBook::GuestBookComponent>();
}

/// Lists what the library can create; lives until it is unloaded.
class GuestBookComponentLibrary final : public ComponentLibraryBase
{
public:
    GuestBookComponentLibrary()
    {
        GetModuleFactory().AddFactoryFunction("GuestBook", &CreateGuestBookComponent);
    }
};

} // namespace

extern "C" OXA_EXPORT ComponentLibraryBase& CreateComponentLibrary(Oxa::System::Commons::AppDomain& /*appDomain*/)
{
    static GuestBookComponentLibrary library;
    return library;
}
