#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <vector>

namespace Oxa::Device::Linux::Description
{

/// Takes what is wrong with a description: the first mistake ends the reading of one that is to be used, all of them
/// are gathered for one that is checked. Threads: one at a time.
class DescriptionProblems final
{
public:
    enum class Reaction
    {
        Throw,
        Gather
    };

    explicit DescriptionProblems(Reaction reaction) noexcept : reaction(reaction) {}

    /// Throws the problem or keeps its text; of very many, the first ones, and that there are more.
    void Report(const System::Commons::XmlException& problem);

    /// Runs the action; what XmlException it throws is reported. False when there was one.
    template <class Action>
    bool Try(const Action& action)
    {
        try
        {
            action();
            return true;
        }
        catch (const System::Commons::XmlException& problem)
        {
            Report(problem);
            return false;
        }
    }

    /// Each with file and line, in the order in which they were found.
    [[nodiscard]] const std::vector<BasicString>& GetMessages() const noexcept
    {
        return messages;
    }

private:
    const Reaction reaction;
    std::vector<BasicString> messages;
};

} // namespace Oxa::Device::Linux::Description
