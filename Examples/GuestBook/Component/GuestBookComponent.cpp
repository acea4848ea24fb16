#include "GuestBookServiceProxyFactory.hpp"
#include "IGuestBookService.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Rsc/RscCallContext.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace
{

using namespace GuestBook;
using namespace Oxa::System::Commons;
using namespace Oxa::System::Rsc;
using Oxa::BasicString;
using Oxa::System::Acf::ComponentInfo;
using Oxa::System::Acf::ComponentLibraryBase;
using Oxa::System::Acf::IComponent;

/// The book, in memory. Safe from any thread.
class GuestBookService final : public IGuestBookService
{
public:
    void Sign(const BasicString& guest) override
    {
        if (guest.empty() || guest.size() > maximumNameBytes)
        {
            throw ArgumentException::Create("guest", guest.size(), "A name has 1 to 64 bytes");
        }
        BasicString entry = guest + ", by " + RscCallContext::DescribeCaller();
        const MutexLock lock(mutex);
        if (entries.size() == maximumEntries)
        {
            throw InvalidOperationException::Create("The guest book is full");
        }
        entries.push_back(std::move(entry));
    }

    [[nodiscard]] std::vector<BasicString> ReadEntries() override
    {
        const MutexLock lock(mutex);
        return entries;
    }

private:
    // All entries together have to fit into one message.
    static constexpr std::size_t maximumEntries = 100;
    static constexpr std::size_t maximumNameBytes = 64;

    Mutex mutex;
    std::vector<BasicString> entries OXA_GUARDED_BY(mutex);
};

/// The component "GuestBook": provides one service, and needs no settings.
class GuestBookComponent final : public IComponent
{
public:
    void Setup(const ComponentInfo& /*componentInfo*/) override
    {
        service = std::make_shared<GuestBookService>();
    }

    void Start() override
    {
        using Service = RscRegistration::Service;
        registration.emplace("", "", std::vector<Service>{{GuestBookServiceProxyFactory::GetInstance(), service}});
    }

    void Stop() noexcept override
    {
        registration.reset();
    }

private:
    std::shared_ptr<GuestBookService> service;
    std::optional<RscRegistration> registration;
};

/// Lists what the library can create; lives until it is unloaded.
class GuestBookComponentLibrary final : public ComponentLibraryBase
{
public:
    GuestBookComponentLibrary()
    {
        GetModuleFactory().AddFactoryFunction("GuestBook", [] { return std::make_unique<GuestBookComponent>(); });
    }
};

} // namespace

extern "C" OXA_EXPORT ComponentLibraryBase& CreateComponentLibrary(AppDomain& /*appDomain*/)
{
    static GuestBookComponentLibrary library;
    return library;
}
