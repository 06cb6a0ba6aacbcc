#include <sys/stat.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <optional>

#include "content.h"
#include "gamepad/games/processes.h"
#include "look/looks.h"

namespace doctor {
namespace {

namespace fs = std::filesystem;

constexpr char kProgram[] = "quorvex";
constexpr std::size_t kLines = 3;

// The service's last words, which it logs at the level of errors so that they are always there.
constexpr char kGoodbye[] = "quorvex Exit";

bool IsNumber(const std::string& name) {
    return !name.empty() &&
           std::all_of(name.begin(), name.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
}

bool IsOwn(const fs::path& process) {
    struct stat status {};
    return stat(process.c_str(), &status) == 0 && status.st_uid == geteuid();
}

/// Seconds since the machine was started: the 22nd field of the process's line, counted behind its name. Nothing of a
/// process that has ended.
std::optional<double> StartOf(pid_t pid) {
    constexpr int kFieldsBetween = 19;
    const std::string text = ContentOf("/proc/" + std::to_string(pid) + "/stat");
    const char* at = text.c_str() + std::min(text.rfind(") ") + 2, text.size());
    for (int i = 0; i < kFieldsBetween && at != nullptr; ++i) {
        at = std::strchr(at, ' ');
        at = at == nullptr ? nullptr : at + 1;
    }
    if (at == nullptr) {
        return std::nullopt;
    }
    return std::strtod(at, nullptr) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

struct Running {
    pid_t pid;
    double start;
};

/// This user's, the oldest first.
std::vector<Running> Services() {
    std::vector<Running> services;
    std::error_code error;
    for (fs::directory_iterator at("/proc", error), end; !error && at != end; at.increment(error)) {
        const std::string name = at->path().filename();
        if (!IsNumber(name) || !IsOwn(at->path()) || games::NameOf(std::stoi(name)).executable != kProgram) {
            continue;
        }
        if (const std::optional<double> start = StartOf(std::stoi(name))) {
            services.push_back({std::stoi(name), *start});
        }
    }
    std::sort(services.begin(), services.end(), [](const Running& a, const Running& b) { return a.start < b.start; });
    return services;
}

std::string LocalTime(std::time_t time) {
    char text[64] = "";
    struct tm parts {};
    localtime_r(&time, &parts);
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

std::string SinceWhen(const Running& service) {
    struct timespec up {};
    clock_gettime(CLOCK_BOOTTIME, &up);
    const double age = static_cast<double>(up.tv_sec) - service.start;
    return LocalTime(std::time(nullptr) - static_cast<std::time_t>(age));
}

std::map<std::string, std::string> EnvironmentOf(pid_t pid) {
    std::map<std::string, std::string> variables;
    const std::string text = ContentOf("/proc/" + std::to_string(pid) + "/environ");
    for (std::size_t from = 0; from < text.size();) {
        const std::string entry = text.c_str() + from;
        const std::size_t sign = std::min(entry.find('='), entry.size());
        variables[entry.substr(0, sign)] = entry.substr(std::min(sign + 1, entry.size()));
        from += entry.size() + 1;
    }
    return variables;
}

/// A service that was started too early or elsewhere looks for another session than the one it is asked from.
void AddEnvironment(pid_t pid, Section& section) {
    std::map<std::string, std::string> its = EnvironmentOf(pid);
    if (its.empty()) {
        return;  // it has ended since
    }
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "SWAYSOCK", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR",
                             "XDG_STATE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
        const char* mine = std::getenv(name);
        if (mine != nullptr && its[name] != mine) {
            section.findings.push_back(Lacks(
                "it runs with " + std::string(name) + "=" + its[name] + ", here it is " + mine,
                "systemctl --user import-environment " + std::string(name) + " && systemctl --user restart quorvex"));
        }
    }
}

Finding ServiceFinding(const Running& service) {
    const std::string since = SinceWhen(service);
    Finding finding = Works("runs since " + since + " (process " + std::to_string(service.pid) + ")");
    finding.facts["pid"] = service.pid;
    finding.facts["since"] = since;
    return finding;
}

/// Journal files, read backwards.
class Journal {
public:
    explicit Journal(const std::string& directory) {
        const int result = directory.empty() ? sd_journal_open(&journal_, SD_JOURNAL_LOCAL_ONLY)
                                             : sd_journal_open_directory(&journal_, directory.c_str(), 0);
        is_open_ = result >= 0;
    }
    ~Journal() { sd_journal_close(journal_); }
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    /// The last error lines of this user's service, the newest last.
    std::vector<std::string> LastErrors() {
        std::vector<std::string> lines;
        if (!is_open_) {
            return lines;
        }
        sd_journal_add_match(journal_, "SYSLOG_IDENTIFIER=QVXD", 0);
        sd_journal_add_match(journal_, "PRIORITY=3", 0);
        sd_journal_add_match(journal_, ("_UID=" + std::to_string(geteuid())).c_str(), 0);
        sd_journal_seek_tail(journal_);
        while (lines.size() < kLines && sd_journal_previous(journal_) > 0) {
            AddLine(lines);
        }
        std::reverse(lines.begin(), lines.end());
        return lines;
    }

private:
    void AddLine(std::vector<std::string>& lines) {
        static const std::string kField = "MESSAGE=";
        const void* data = nullptr;
        std::size_t length = 0;
        std::uint64_t time = 0;
        if (sd_journal_get_data(journal_, "MESSAGE", &data, &length) < 0 ||
            sd_journal_get_realtime_usec(journal_, &time) < 0) {
            return;
        }
        const std::string text(static_cast<const char*>(data) + kField.size(), length - kField.size());
        if (text.find(kGoodbye) == std::string::npos) {
            lines.push_back(LocalTime(static_cast<std::time_t>(time / 1000000)) + " " + text);
        }
    }

    sd_journal* journal_ = nullptr;
    bool is_open_ = false;
};

void AddLastErrors(const std::string& journal, Section& section) {
    const std::vector<std::string> lines = Journal(journal).LastErrors();
    if (lines.empty()) {
        return;
    }
    Finding finding = Lacks("its last errors:", "journalctl --user -t QVXD");
    finding.details = lines;
    finding.facts["errors"] = Json::Value(Json::arrayValue);
    for (const std::string& line : lines) {
        finding.facts["errors"].append(line);
    }
    section.findings.push_back(finding);
}

}  // namespace

Section LookAtService(const std::string& journal) {
    Section section{"service", "The service itself", {}};
    const std::vector<Running> services = Services();
    if (services.empty()) {
        section.findings.push_back(Broken("it does not run", "systemctl --user enable --now quorvex"));
    } else {
        section.findings.push_back(ServiceFinding(services.front()));
        AddEnvironment(services.front().pid, section);
    }
    if (services.size() > 1) {
        section.findings.push_back(
            Broken("it runs " + std::to_string(services.size()) + " times: each key is sent by each",
                   "kill " + std::to_string(services.back().pid)));
    }
    AddLastErrors(journal, section);
    return section;
}

}  // namespace doctor
