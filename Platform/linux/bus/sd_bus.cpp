#include "bus/sd_bus.h"

#include <dlfcn.h>

#include "platform/dlog.h"

namespace {

// It stays loaded: a bus that went is expected back.
bool Load(SdBusFunctions& functions) {
    void* library = dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
    bool isComplete = library != nullptr;
#define QUORVEX_FIND(name)                                                                                     \
    functions.name = isComplete ? reinterpret_cast<decltype(functions.name)>(dlsym(library, #name)) : nullptr; \
    isComplete = functions.name != nullptr;
    QUORVEX_SD_BUS_FUNCTIONS(QUORVEX_FIND)
#undef QUORVEX_FIND
    if (!isComplete) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "libsystemd cannot be used: the message buses are left alone");
    }
    return isComplete;
}

// Two buses may be connected to at once, by different threads.
struct Loaded {
    SdBusFunctions functions;
    const bool isComplete = Load(functions);
};

const Loaded& TheLibrary() {
    static const Loaded library;
    return library;
}

}  // namespace

bool LoadSdBus() {
    return TheLibrary().isComplete;
}

const SdBusFunctions& SdBus() {
    return TheLibrary().functions;
}
