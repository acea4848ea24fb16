#include "EndToEnd/Fakes/Trace.hpp"
#include "Oxa/System/Acf/IComponent.hpp"

#include <unistd.h>

#include <memory>
#include <stdexcept>

namespace Oxa::Tests::EndToEnd
{

namespace
{

/// Offers nothing, and writes down what is done to it.
class FakeComponent final : public System::Acf::IComponent
{
public:
    ~FakeComponent() override
    {
        Trace("component destroyed");
    }

    void Setup(const System::Acf::ComponentInfo& /*componentInfo*/) override
    {
        Trace("component set up");
    }

    void Start() override
    {
        Trace("component started");
        const BasicString fault = GetFault(System::Commons::Singleton<System::Commons::AppDomain>::GetInstance());
        while (fault == "component-hangs")
        {
            pause();
        }
        if (fault == "component")
        {
            throw std::runtime_error("the component does not want to");
        }
    }

    void Stop() noexcept override
    {
        Trace("component stopped");
    }
};

class FakeComponentLibrary final : public System::Acf::ComponentLibraryBase
{
public:
    FakeComponentLibrary()
    {
        GetModuleFactory().AddFactoryFunction("Fake", [] { return std::make_unique<FakeComponent>(); });
    }
};

} // namespace

} // namespace Oxa::Tests::EndToEnd

extern "C" __attribute__((visibility("default"))) Oxa::System::Acf::ComponentLibraryBase&
CreateComponentLibrary(Oxa::System::Commons::AppDomain& /*appDomain*/)
{
    static Oxa::Tests::EndToEnd::FakeComponentLibrary library;
    return library;
}
