#include "Device/Description/DescriptionProblems.hpp"

#include <cstddef>

namespace Oxa::Device::Linux::Description
{

namespace
{

// Nobody mends more in one go.
constexpr std::size_t maximumMessageCount = 1000;

} // namespace

void DescriptionProblems::Report(const System::Commons::XmlException& problem)
{
    if (reaction == Reaction::Throw)
    {
        throw problem;
    }
    if (messages.size() < maximumMessageCount)
    {
        messages.push_back(problem.GetMessage());
    }
    else if (messages.size() == maximumMessageCount)
    {
        messages.emplace_back("… and more");
    }
}

} // namespace Oxa::Device::Linux::Description
