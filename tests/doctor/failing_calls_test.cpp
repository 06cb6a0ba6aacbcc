// The report where something goes while it is looked at: a call of the system fails.

#include "machine.h"

namespace {

class WhereACallFails : public Machine {
protected:
    /// One call of the function is the one that counts, but which of them is a matter of all that comes before.
    Said LookUntilItSays(const std::string& function, const std::string& section, const std::string& words) {
        constexpr int kEnough = 100;
        Plug();
        environment_["LD_PRELOAD"] = FAULTY_SYSTEM ":" + environment_["LD_PRELOAD"];
        Said said;
        for (int call = 1; said.Finding(section, words).isNull() && call <= kEnough; ++call) {
            environment_["QUORVEX_FAULT"] = function + ":" + std::to_string(call);
            said = Look();
        }
        return said;
    }
};

TEST_F(WhereACallFails, APadThatGoesWhileItIsLookedAtIsToPlugInAgain) {
    const std::string words = " at /dev/input/event5 cannot be read: ";
    ExpectFinding(LookUntilItSays("open", "pads", words), "pads", words, "broken", "plug it in again");
}

TEST_F(WhereACallFails, ProcessesThatCannotBeSeenAreTold) {
    const std::string words = "/proc cannot be read: ";
    ExpectFinding(LookUntilItSays("openat", "readers", words), "readers", words, "lacks", "mount -t proc proc /proc");
}

TEST_F(WhereACallFails, AServiceThatEndsWhileItIsLookedAtDoesNotRun) {
    StartService("QUORVEX_FAULT=");
    const std::string words = "it does not run";
    ExpectFinding(LookUntilItSays("read", "service", words), "service", words, "broken", "systemctl --user enable");
}

}  // namespace
