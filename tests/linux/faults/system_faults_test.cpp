// The program on this machine's platform, with a replayed pad and printed keys, while one call of the system fails.
//
// QUORVEX_FAULT=function:n  only this one.
// QUORVEX_FAULT_MEMORY=1    allocations too.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr char kAllKeys[] = "KEY_ENTER 36 press\nKEY_ENTER 36 release\nKEY_LEFT 113 press\nKEY_LEFT 113 release\n";
constexpr int kStartFailed = 255;
constexpr size_t kFlood = 12;  // lines of the log more than usual

/// How one life of the program ended.
struct Life {
    std::string fault;
    int status = 0;
    std::string keys;
    std::vector<std::string> messages;
    std::map<std::string, int> counts;
};

std::string TextOf(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

/// A home, a runtime directory and what the program prints, for one life.
class Place {
public:
    Place() : path_(mkdtemp(name_)) {
        fs::create_directory(path_ / "home");
        fs::create_directory(path_ / "run");
    }
    ~Place() { fs::remove_all(path_); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    std::string In(const char* file) const { return path_ / file; }
    /// The program says where a file would be: that differs from place to place.
    std::string WithoutPath(std::string text) const {
        for (size_t at = text.find(path_.string()); at != std::string::npos; at = text.find(path_.string())) {
            text.replace(at, path_.string().size(), "@");
        }
        return text;
    }

private:
    char name_[40] = "/tmp/quorvex-system-faults-XXXXXX";
    fs::path path_;
};

/// Runs a command that gets SIGTERM after $0 seconds and then each second, since one that comes before it has started
/// is not kept; and is killed when it still does not end.
constexpr char kUntilEnded[] = R"(sh -c '
    "$@" &
    p=$!
    { sleep $0; for i in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15; do kill -TERM $p; sleep 1; done; kill -KILL $p; } \
        >/dev/null 2>&1 &
    k=$!
    wait $p
    s=$?
    kill $k
    exit $s')";

std::string CommandFor(const Place& place, const std::string& fault, double seconds) {
    std::ostringstream command;
    command << "exec env -u DISPLAY -u WAYLAND_DISPLAY -u XDG_STATE_HOME -u XDG_CONFIG_HOME -u XDG_DATA_HOME HOME="
            << place.In("home") << " XDG_RUNTIME_DIR=" << place.In("run")
            << " DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent"
            << " QUORVEX_KEYS=print QUORVEX_LOG=error QUORVEX_FAULT=" << fault
            << " QUORVEX_FAULT_COUNTS=" << place.In("counts")
            << " umockdev-run --device " PADS "/pad.umockdev --ioctl /dev/input/event5=" PADS "/pad.ioctl"
            << " --evemu-events /dev/input/event5=" SESSION " -- " << kUntilEnded << ' ' << seconds
            << " env LD_PRELOAD=" FAULTY_SYSTEM ":libumockdev-preload.so.0 " PROGRAM " >" << place.In("keys") << " 2>"
            << place.In("log");
    return command.str();
}

Life LiveFor(double seconds, const std::string& fault) {
    const Place place;
    Life life;
    life.fault = fault;
    const int ended = system(CommandFor(place, fault, seconds).c_str());
    life.status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -WTERMSIG(ended);
    life.keys = TextOf(place.In("keys"));
    std::istringstream log(place.WithoutPath(TextOf(place.In("log"))));
    for (std::string line; std::getline(log, line);) {
        life.messages.push_back(line);
    }
    std::ifstream counts(place.In("counts"));
    int count = 0;
    for (std::string name; counts >> name >> count;) {
        life.counts[name] = count;
    }
    return life;
}

/// Said or not by how quick a thread is.
bool IsByChance(const std::string& line) {
    return line.find("Please call") != std::string::npos;
}

/// What is in the log that the usual life does not say.
std::vector<std::string> Unusual(const Life& life, const Life& usual) {
    std::vector<std::string> unusual;
    const auto& known = usual.messages;
    std::copy_if(life.messages.begin(), life.messages.end(), std::back_inserter(unusual), [&](const std::string& line) {
        return !IsByChance(line) && std::find(known.begin(), known.end(), line) == known.end();
    });
    return unusual;
}

/// Keys that are missing, and nothing says why, may only be late: on a busy machine the life is lived again, and
/// longer.
Life Live(const std::string& fault, const Life& usual) {
    Life life;
    for (const double seconds : {1.5, 6.0, 15.0}) {
        life = LiveFor(seconds, fault);
        if (life.keys == kAllKeys || !Unusual(life, usual).empty()) {
            break;
        }
    }
    return life;
}

void Judge(const Life& life, const Life& usual) {
    const std::vector<std::string> said = Unusual(life, usual);
    const std::string all = testing::PrintToString(said);
    EXPECT_TRUE(life.status == 0 || life.status == kStartFailed) << life.fault << ": status " << life.status << all;
    EXPECT_TRUE(life.keys == kAllKeys || !said.empty()) << life.fault << ": keys are missing, and nothing says why";
    EXPECT_LE(said.size(), kFlood) << life.fault << ": " << all;
    EXPECT_TRUE(life.keys.find("press") == std::string::npos || life.keys.rfind("release") > life.keys.rfind("press"))
        << life.fault << ": a key is left held: " << life.keys;
}

/// Which calls fail: the first ones each, then ever fewer. Allocations only when they are asked for: what replays the
/// pad does not survive them either.
std::vector<std::string> FaultsOf(const std::map<std::string, int>& counts) {
    constexpr int kEach = QUORVEX_EACH;
    std::vector<std::string> faults;
    for (const auto& [name, count] : counts) {
        if (name == "malloc" && getenv("QUORVEX_FAULT_MEMORY") == nullptr) {
            continue;
        }
        for (int nth = 1; nth <= count; nth += 1 + nth / kEach) {
            faults.push_back(name + ":" + std::to_string(nth));
        }
    }
    return faults;
}

std::vector<Life> LiveAll(const std::vector<std::string>& faults, const Life& usual) {
    std::vector<Life> lives(faults.size());
    std::atomic<size_t> next{0};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < std::max(1U, std::thread::hardware_concurrency()); ++i) {
        threads.emplace_back([&] {
            for (size_t mine = next++; mine < faults.size(); mine = next++) {
                lives[mine] = Live(faults[mine], usual);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return lives;
}

TEST(TheProgram, SurvivesEveryCallOfTheSystemThatFails) {
    const Life usual = LiveFor(5, "none:0");
    ASSERT_EQ(usual.status, 0) << testing::PrintToString(usual.messages);
    ASSERT_EQ(usual.keys, kAllKeys) << testing::PrintToString(usual.messages);
    const char* const wanted = getenv("QUORVEX_FAULT");
    const auto faults = wanted == nullptr ? FaultsOf(usual.counts) : std::vector<std::string>{wanted};
    std::set<std::string> functions;
    for (const Life& life : LiveAll(faults, usual)) {
        Judge(life, usual);
        functions.insert(life.fault.substr(0, life.fault.find(':')));
        if (wanted != nullptr) {
            std::cout << life.status << '\n' << life.keys << testing::PrintToString(Unusual(life, usual)) << '\n';
        }
    }
    std::cout << "system: " << faults.size() << " failing calls of " << functions.size() << " functions tried\n";
    RecordProperty("tried", static_cast<int>(faults.size()));
}

}  // namespace
