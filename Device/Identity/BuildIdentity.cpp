#include "Device/Identity/BuildIdentity.hpp"

#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Xml/PlaceholderExpression.hpp"

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

/// Empty when there is none among the notes.
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

const void* GetAddress(const dl_phdr_info& object, const ElfW(Phdr) & segment) noexcept
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader gives addresses as numbers.
    return reinterpret_cast<const void*>(object.dlpi_addr + segment.p_vaddr);
}

bool HoldsThisCode(const dl_phdr_info& object) noexcept
{
    const auto address = reinterpret_cast<ElfW(Addr)>(&MakeBuildIdentity);
    for (const auto& segment : std::span(object.dlpi_phdr, object.dlpi_phnum))
    {
        const ElfW(Addr) begin = object.dlpi_addr + segment.p_vaddr;
        if (segment.p_type == PT_LOAD && address >= begin && address - begin < segment.p_memsz)
        {
            return true;
        }
    }
    return false;
}

int KeepOwnBuildId(dl_phdr_info* object, std::size_t, void* result) noexcept
{
    if (!HoldsThisCode(*object))
    {
        return 0;
    }
    for (const auto& segment : std::span(object->dlpi_phdr, object->dlpi_phnum))
    {
        if (segment.p_type == PT_NOTE)
        {
            const auto* const notes = static_cast<const unsigned char*>(GetAddress(*object, segment));
            const Bytes buildId = FindBuildId({notes, segment.p_memsz});
            *static_cast<Bytes*>(result) = buildId.empty() ? *static_cast<Bytes*>(result) : buildId;
        }
    }
    return 1;
}

/// FNV-1a: nobody gains anything from two descriptions of one checksum.
class Checksum final
{
public:
    void Add(std::string_view text) noexcept
    {
        for (const char byte : text)
        {
            Add(static_cast<unsigned char>(byte));
        }
        // So that a text does not count as two.
        Add(uint64{256});
    }

    [[nodiscard]] uint64 Get() const noexcept
    {
        return sum;
    }

private:
    void Add(uint64 number) noexcept
    {
        sum = (sum ^ number) * 0x100000001B3U;
    }

    uint64 sum = 0xCBF29CE484222325U;
};

BasicString ReadWhole(const BasicString& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

BasicString MakeBuildIdentity(const std::vector<BasicString>& files)
{
    Bytes buildId;
    dl_iterate_phdr(&KeepOwnBuildId, &buildId);
    buildId = buildId.first(std::min(buildId.size(), buildIdBytes));
    Checksum checksum;
    const System::Commons::Xml::PlaceholderExpression placeholders(
        System::Commons::Singleton<System::Commons::AppDomain>::TryGetInstance());
    for (const BasicString& file : files)
    {
        checksum.Add(placeholders.Resolve(ReadWhole(file)));
    }
    return fmt::format("{:02x}{:016x}", fmt::join(buildId, ""), checksum.Get());
}

} // namespace Oxa::Device::Linux::Identity
