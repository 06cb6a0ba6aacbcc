#pragma once

#include <map>
#include <string>

/// The one call that fails in this process: the nth of a function, the first being 1. 0: none does.
struct Fault {
    std::string function;
    int nth = 0;
};

/// Counts what the service calls, and makes one of these calls fail.
///
/// Functions   those of the C library, the thread library and GLib in kinds.def, and "memory": every allocation, of the
///             service and of the libraries that work for it. The platform's functions fail by the test double.
/// Scope       the service's own calls. For memory, what any thread asks for between Arm and Disarm, except inside the
///             double, inside GLib (which ends the process when it gets none) and while an Outside lives.
/// Threads     any. Only Arm and Disarm want the service not to run.
class FaultPlan {
public:
    enum Kind {
#define KIND(name, function) name,
#include "kinds.def"
#undef KIND
        kKinds
    };

    static bool Knows(const std::string& function);
    static void Arm(const Fault& fault);
    static void Disarm();
    /// Counts the call. True when it is the one that fails.
    static bool Fails(Kind kind);
    static bool MemoryFails();
    /// The calling thread has done its work for the service.
    static void NoteThreadEnds();
    /// How often each function was called since Arm.
    static std::map<std::string, int> Counts();

    /// While it lives, the calling thread does not work for the service.
    class Outside {
    public:
        Outside();
        ~Outside();
        Outside(const Outside&) = delete;
        Outside& operator=(const Outside&) = delete;
    };
};
