#include "footprint.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "own_settings.h"

// There is one only in a program that was built with a sanitizer, whose own allocator mallinfo2 does not know.
extern "C" size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace {

constexpr size_t kNoise = size_t{8} * 1024;

size_t Threads() {
    const std::filesystem::directory_iterator all("/proc/self/task");
    return static_cast<size_t>(std::distance(begin(all), end(all)));
}

size_t Allocated() {
    if (__sanitizer_get_current_allocated_bytes != nullptr) {
        return __sanitizer_get_current_allocated_bytes();
    }
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

size_t Resident() {
    size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return pages * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

void Footprints::Take() {
    all_.push_back({OpenDescriptors(), Threads(), Allocated(), Resident()});
}

Footprint Footprints::Of(size_t begin, size_t end, Rank rank) const {
    const auto of = [&](size_t Footprint::*member) {
        std::vector<size_t> values;
        for (size_t i = begin; i < end; ++i) {
            values.push_back(all_[i].*member);
        }
        std::sort(values.begin(), values.end());
        return values.at((values.size() - 1) * rank / kHighest);
    };
    return {of(&Footprint::descriptors), of(&Footprint::threads), of(&Footprint::allocated), of(&Footprint::resident)};
}

bool Footprints::AreFlat() const {
    const Footprint first = First(kHighest);
    const Footprint last = Last(kLowest);
    return last.descriptors <= first.descriptors && last.threads <= first.threads &&
           last.allocated <= first.allocated + kNoise;
}

std::string Footprints::Text() const {
    const Footprint first = First(kMedian);
    const Footprint last = Last(kMedian);
    std::ostringstream text;
    text << all_.size() << " restarts: descriptors " << first.descriptors << " -> " << last.descriptors << ", threads "
         << first.threads << " -> " << last.threads << ", allocated " << first.allocated << " -> " << last.allocated
         << ", resident " << first.resident << " -> " << last.resident << " bytes";
    return text.str();
}
