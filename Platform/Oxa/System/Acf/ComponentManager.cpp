#include "Oxa/System/Acf/ComponentManager.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::System::Acf
{

using System::Commons::ArgumentException;
using System::Commons::InvalidOperationException;
using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;
namespace Text = System::Commons::Text;

IComponent::~IComponent() = default;

ComponentManager::ComponentManager(System::Commons::AppDomain& appDomain) : appDomain(appDomain) {}

ComponentManager::~ComponentManager()
{
    StopAll();
    while (!components.empty())
    {
        components.pop_back();
    }
}

void ComponentManager::Load(const ComponentConfiguration& configuration)
{
    TryRun(configuration, "Load", [&] { Create(configuration); });
    // Only now: an exception of an entry function must be destroyed before its library is closed.
    std::erase_if(libraries, [](const Library& library) { return library.content == nullptr; });
}

void ComponentManager::SetupAll()
{
    Advance(State::Created, State::SetUp,
            [this](Component& entry)
            {
                const ComponentInfo info(entry.configuration.name, entry.configuration.settingsPath);
                return TryRun(entry.configuration, "Setup", [&] { entry.component->Setup(info); });
            });
}

void ComponentManager::StartAll()
{
    Advance(State::SetUp, State::Started, [this](Component& entry) { return TryStart(entry); });
}

void ComponentManager::StopAll() noexcept
{
    std::for_each(components.rbegin(), components.rend(),
                  [](Component& entry)
                  {
                      if (entry.state == State::Started)
                      {
                          entry.component->Stop();
                          entry.state = State::Stopped;
                      }
                  });
}

std::vector<ComponentFailure> ComponentManager::GetFailures() const
{
    const MutexLock lock(mutex);
    return failures;
}

std::optional<ComponentManager::Activity> ComponentManager::GetActivity() const
{
    const MutexLock lock(mutex);
    return activity;
}

void ComponentManager::SetActivity(std::optional<Activity> newActivity)
{
    const MutexLock lock(mutex);
    activity = std::move(newActivity);
}

void ComponentManager::Create(const ComponentConfiguration& configuration)
{
    const auto hasSameName = [&configuration](const Component& entry)
    {
        return entry.configuration.name == configuration.name;
    };
    if (std::ranges::any_of(components, hasSameName))
    {
        throw ArgumentException::Create("name", configuration.name, "There is a component of this name");
    }
    RequireTrustedFiles(configuration);
    const Library& library = GetLibrary(configuration.libraryPath);
    auto component = library.content->GetModuleFactory().CreateModule(configuration.componentName);
    if (!component)
    {
        throw InvalidOperationException::Create("the library has no component '{0}'", configuration.componentName);
    }
    components.push_back({configuration, std::move(component)});
}

ComponentManager::Library& ComponentManager::GetLibrary(const BasicString& path)
{
    SharedLibrary loaded(path);
    const auto isSame = [&loaded](const Library& entry)
    {
        return entry.library.IsSameAs(loaded);
    };
    const auto found = std::ranges::find_if(libraries, isSame);
    if (found != libraries.end())
    {
        return *found;
    }
    Library& library = libraries.emplace_back(Library{std::move(loaded)});
    library.content = &library.library.GetFunction<ComponentLibraryEntry>(componentLibraryEntryName)(appDomain);
    return library;
}

bool ComponentManager::TryStart(const Component& entry)
{
    const bool isStarted = TryRun(entry.configuration, "Start", [&] { entry.component->Start(); });
    if (!isStarted)
    {
        entry.component->Stop();
    }
    return isStarted;
}

template <class Operation>
void ComponentManager::Advance(State from, State to, Operation operation)
{
    for (auto current = components.begin(); current != components.end();)
    {
        if (current->state == from && !operation(*current))
        {
            current = components.erase(current);
            continue;
        }
        current->state = current->state == from ? to : current->state;
        ++current;
    }
}

template <class Operation>
bool ComponentManager::TryRun(const ComponentConfiguration& configuration, std::string_view operationName,
                              Operation operation)
{
    SetActivity(Activity{configuration.name, std::chrono::steady_clock::now()});
    bool isSuccessful = true;
    try
    {
        operation();
    }
    catch (...)
    {
        isSuccessful = false;
        AddFailure(configuration, operationName, System::Commons::DescribeCurrentException());
    }
    SetActivity(std::nullopt);
    return isSuccessful;
}

void ComponentManager::AddFailure(const ComponentConfiguration& configuration, std::string_view operationName,
                                  std::string_view cause)
{
    BasicString text = Text::Format("component '{0}' of '{1}' is left out; {2} failed: {3}", configuration.name,
                                    configuration.libraryPath, operationName, Text::EscapeControlCharacters(cause));
    Log(LogLevel::Error, "{0}", text);
    const MutexLock lock(mutex);
    failures.push_back({configuration.name, std::move(text)});
}

} // namespace Oxa::System::Acf
