#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscService.hpp"

#include <vector>

namespace GuestBook
{

/// A book that guests sign. Safe from any thread; a proxy throws RscServiceException when the service cannot be
/// reached.
class OXA_EXPORT IGuestBookService : public Oxa::System::Rsc::IRscService
{
public:
    ~IGuestBookService() override;

    /// Throws ArgumentException when the name is empty or too long, InvalidOperationException when the book is full.
    virtual void Sign(const Oxa::BasicString& guest) = 0;

    /// The oldest first.
    [[nodiscard]] virtual std::vector<Oxa::BasicString> ReadEntries() = 0;
};

} // namespace GuestBook
