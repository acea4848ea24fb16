#pragma once

#include "Host/Modules/ModuleGate.hpp"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace Oxa::Host::Modules
{

/// Entries of one kind in the order of their registration, no two of one name. `Entry` is a `RegisteredHandler` with a
/// function `GetName`. Calls no handler and destroys none: entries that go are handed to the caller, who lets go of
/// them outside his lock. Threads: one at a time.
template <class Entry>
class RegisteredList final
{
public:
    using Entries = std::vector<std::shared_ptr<Entry>>;

    /// Puts the entry at the end, or in the place of one of that name which the same module has withdrawn; `entry` is
    /// that one then, else null. False for a name that is taken.
    [[nodiscard]] bool TryAdd(std::shared_ptr<Entry>& entry)
    {
        const auto place = Locate(entry->GetName());
        if (place == entries.end())
        {
            entries.push_back(std::move(entry));
            return true;
        }
        if (!(*place)->isWithdrawn || (*place)->gate != entry->gate)
        {
            return false;
        }
        place->swap(entry);
        return true;
    }

    /// Marks the entry as withdrawn; forgets it as well when the gate is open, since its module then does not register
    /// it again. Null when there is none of that name.
    [[nodiscard]] std::shared_ptr<Entry> Withdraw(std::string_view name)
    {
        const auto place = Locate(name);
        if (place == entries.end())
        {
            return nullptr;
        }
        auto entry = *place;
        entry->isWithdrawn = true;
        if (entry->gate->IsOpen())
        {
            entries.erase(place);
        }
        return entry;
    }

    /// Takes out what the module has withdrawn.
    [[nodiscard]] Entries TakeWithdrawn(const ModuleGate& gate)
    {
        const auto isKept = [&gate](const auto& entry)
        {
            return entry->gate.get() != &gate || !entry->isWithdrawn;
        };
        const auto first = std::stable_partition(entries.begin(), entries.end(), isKept);
        Entries withdrawn(std::make_move_iterator(first), std::make_move_iterator(entries.end()));
        entries.erase(first, entries.end());
        return withdrawn;
    }

    /// Null when there is none of that name.
    [[nodiscard]] std::shared_ptr<const Entry> Find(std::string_view name) const
    {
        const auto place = std::find_if(entries.begin(), entries.end(),
                                        [name](const auto& entry) { return entry->GetName() == name; });
        return place == entries.end() ? nullptr : *place;
    }

    [[nodiscard]] const Entries& GetAll() const noexcept
    {
        return entries;
    }

    /// What the module has registered and not withdrawn.
    [[nodiscard]] std::vector<std::shared_ptr<const Entry>> GetAllOf(const ModuleGate& gate) const
    {
        std::vector<std::shared_ptr<const Entry>> result;
        std::copy_if(entries.begin(), entries.end(), std::back_inserter(result),
                     [&gate](const auto& entry) { return entry->gate.get() == &gate && !entry->isWithdrawn; });
        return result;
    }

private:
    [[nodiscard]] auto Locate(std::string_view name)
    {
        return std::find_if(entries.begin(), entries.end(),
                            [name](const auto& entry) { return entry->GetName() == name; });
    }

    Entries entries;
};

} // namespace Oxa::Host::Modules
