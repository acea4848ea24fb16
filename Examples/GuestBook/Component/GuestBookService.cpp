#include "GuestBookService.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/RscCallContext.hpp"

#include <utility>

namespace GuestBook
{

using Oxa::BasicString;
using Oxa::System::Commons::ArgumentException;
using Oxa::System::Commons::InvalidOperationException;
using Oxa::System::Commons::MutexLock;
using Oxa::System::Rsc::RscCallContext;

namespace
{

// All entries together have to go into one message.
constexpr std::size_t maximumEntries = 100;
constexpr std::size_t maximumNameBytes = 64;

} // namespace

GuestBookService::~GuestBookService() = default;

void GuestBookService::Sign(const BasicString& guest)
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

std::vector<BasicString> GuestBookService::ReadEntries()
{
    const MutexLock lock(mutex);
    return entries;
}

} // namespace GuestBook
