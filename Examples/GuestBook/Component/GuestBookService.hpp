#pragma once

#include "IGuestBookService.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

namespace GuestBook
{

/// The book, in memory. Safe from any thread.
class GuestBookService final : public IGuestBookService
{
public:
    ~GuestBookService() override;

    void Sign(const Oxa::BasicString& guest) override;
    [[nodiscard]] std::vector<Oxa::BasicString> ReadEntries() override;

private:
    Oxa::System::Commons::Mutex mutex;
    std::vector<Oxa::BasicString> entries;
};

} // namespace GuestBook
