// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/IdleMemory.h"

#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Tarnwick {

namespace {

/// Segments that nobody can have written to: relocated data is in writable ones (elf(5)).
bool isUnchanged(const ElfW(Phdr) & segment)
{
    return segment.p_type == PT_LOAD && (segment.p_flags & PF_W) == 0;
}

/// Whether the dynamic linker has changed the object's code when it loaded it (DT_TEXTREL, elf(5)).
bool isCodeRelocated(const dl_phdr_info &object, std::span<const ElfW(Phdr)> segments)
{
    const auto dynamic = std::ranges::find(segments, PT_DYNAMIC, &ElfW(Phdr)::p_type);
    if (dynamic == segments.end()) {
        return false;
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the dynamic linker tells addresses as numbers
    const auto *first = reinterpret_cast<const ElfW(Dyn) *>(object.dlpi_addr + dynamic->p_vaddr);
    const std::span<const ElfW(Dyn)> entries(first, dynamic->p_memsz / sizeof(ElfW(Dyn)));
    return std::ranges::any_of(entries, [](const ElfW(Dyn) & entry) {
        return entry.d_tag == DT_TEXTREL ||
               (entry.d_tag == DT_FLAGS && (entry.d_un.d_val & DF_TEXTREL) != 0);
    });
}

int releaseObject(dl_phdr_info *object, std::size_t /*size*/, void * /*unused*/)
{
    const std::span<const ElfW(Phdr)> segments(object->dlpi_phdr, object->dlpi_phnum);
    if (isCodeRelocated(*object, segments)) {
        return 0;
    }
    const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    for (const ElfW(Phdr) & segment : segments) {
        if (!isUnchanged(segment)) {
            continue;
        }
        const std::uintptr_t start = object->dlpi_addr + segment.p_vaddr;
        const std::uintptr_t first = start & ~(pageSize - 1);
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the dynamic linker tells addresses as numbers
        madvise(reinterpret_cast<void *>(first), start + segment.p_memsz - first, MADV_DONTNEED);
    }
    return 0;
}

} // namespace

void IdleMemory::release()
{
    malloc_trim(0);
    dl_iterate_phdr(&releaseObject, nullptr);
}

} // namespace Tarnwick
