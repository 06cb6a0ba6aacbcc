#include "memory/memory.h"

#include <elf.h>
#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace {

// Before there is any other thread. Threads that seldom allocate do without a heap each.
__attribute__((constructor)) void BeModest() {
    prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
    mallopt(M_ARENA_MAX, 1);
}

void* At(std::uintptr_t address) {
    return reinterpret_cast<void*>(address);  // NOLINT(performance-no-int-to-ptr): the linker tells numbers
}

// Where the code itself was relocated, its pages are not those of the file any more.
bool HasRelocatedCode(const dl_phdr_info& object, const ElfW(Phdr) & segment) {
    const auto* entry = static_cast<const ElfW(Dyn)*>(At(object.dlpi_addr + segment.p_vaddr));
    for (; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_TEXTREL || (entry->d_tag == DT_FLAGS && (entry->d_un.d_val & DF_TEXTREL) != 0)) {
            return true;
        }
    }
    return false;
}

// Segments that are never written to hold nothing that is not in the file. What is only read after the relocation
// belongs to one that is written to.
void GiveBack(const dl_phdr_info& object, const ElfW(Phdr) & segment) {
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const std::uintptr_t start = (object.dlpi_addr + segment.p_vaddr) / page * page;
    const std::uintptr_t end = object.dlpi_addr + segment.p_vaddr + segment.p_memsz;
    madvise(At(start), end - start, MADV_DONTNEED);
}

int GiveBackObject(dl_phdr_info* object, std::size_t /*size*/, void* /*data*/) {
    const auto* const begin = object->dlpi_phdr;
    const auto* const end = begin + object->dlpi_phnum;
    const bool isFixed = std::none_of(begin, end, [object](const ElfW(Phdr) & segment) {
        return segment.p_type == PT_DYNAMIC && HasRelocatedCode(*object, segment);
    });
    std::for_each(begin, end, [object, isFixed](const ElfW(Phdr) & segment) {
        if (isFixed && segment.p_type == PT_LOAD && (segment.p_flags & PF_W) == 0) {
            GiveBack(*object, segment);
        }
    });
    return 0;
}

}  // namespace

void GiveBackFilePages() {
    dl_iterate_phdr(GiveBackObject, nullptr);
}
