#include "Device/Identity/BuildIdentity.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Xml/PlaceholderExpression.hpp"

#include <boost/crc.hpp>
#include <dlfcn.h>
#include <elf.h>
#include <fmt/format.h>
#include <link.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <iterator>
#include <span>
#include <string_view>

namespace Oxa::Device::Linux::Identity
{

namespace
{

using Bytes = std::span<const unsigned char>;

// Of the 20 bytes that a build id has; enough to tell builds apart.
constexpr std::size_t buildIdBytes = 8;

constexpr std::size_t AlignNote(std::size_t size) noexcept
{
    return (size + 3) / 4 * 4;
}

/// Empty when the notes hold none.
Bytes FindBuildId(Bytes notes) noexcept
{
    ElfW(Nhdr) header = {};
    while (notes.size() >= sizeof(header))
    {
        std::memcpy(&header, notes.data(), sizeof(header));
        notes = notes.subspan(sizeof(header));
        const std::size_t nameBytes = AlignNote(header.n_namesz);
        if (notes.size() < nameBytes + header.n_descsz)
        {
            return {};
        }
        if (header.n_type == NT_GNU_BUILD_ID && header.n_namesz == sizeof(ELF_NOTE_GNU) &&
            std::memcmp(notes.data(), ELF_NOTE_GNU, sizeof(ELF_NOTE_GNU)) == 0)
        {
            return notes.subspan(nameBytes, header.n_descsz);
        }
        notes = notes.subspan(std::min(notes.size(), nameBytes + AlignNote(header.n_descsz)));
    }
    return {};
}

/// That of the shared object, or of the program, that holds this code; empty when it has none.
Bytes FindOwnBuildId() noexcept
{
    Dl_info object = {};
    void* map = nullptr;
    if (dladdr1(reinterpret_cast<const void*>(&MakeBuildIdentity), &object, &map, RTLD_DL_LINKMAP) == 0)
    {
        return {};
    }
    const auto* const file = static_cast<const unsigned char*>(object.dli_fbase);
    const auto& header = *static_cast<const ElfW(Ehdr)*>(object.dli_fbase);
    Bytes buildId;
    for (const auto& segment : std::span(reinterpret_cast<const ElfW(Phdr)*>(file + header.e_phoff), header.e_phnum))
    {
        if (segment.p_type == PT_NOTE && buildId.empty())
        {
            const ElfW(Addr) address = static_cast<const link_map*>(map)->l_addr + segment.p_vaddr;
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader gives addresses as numbers.
            buildId = FindBuildId({reinterpret_cast<const unsigned char*>(address), segment.p_memsz});
        }
    }
    return buildId.first(std::min(buildId.size(), buildIdBytes));
}

} // namespace

BasicString MakeBuildIdentity(const std::vector<BasicString>& files)
{
    // A checksum is enough: two descriptions of one checksum harm only their author. ECMA-182, as XZ uses it.
    boost::crc_optimal<64, 0x42F0E1EBA9EA3693, ~uint64{0}, ~uint64{0}, true, true> checksum;
    const System::Commons::Xml::PlaceholderExpression placeholders(
        System::Commons::Singleton<System::Commons::AppDomain>::TryGetInstance());
    for (const BasicString& file : files)
    {
        std::ifstream stream(file, std::ios::binary);
        const BasicString text = placeholders.Resolve(BasicString(std::istreambuf_iterator<char>(stream), {}));
        checksum.process_bytes(text.data(), text.size());
        // Two files do not count as one with both texts.
        checksum.process_byte(0);
    }
    return fmt::format("{:02x}{:016x}", fmt::join(FindOwnBuildId(), ""), checksum.checksum());
}

} // namespace Oxa::Device::Linux::Identity
