// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/IdleMemory.h"

#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

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

int releaseObject(dl_phdr_info *object, std::size_t /*size*/, void * /*unused*/)
{
    const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    for (const ElfW(Phdr) & segment : std::span(object->dlpi_phdr, object->dlpi_phnum)) {
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
