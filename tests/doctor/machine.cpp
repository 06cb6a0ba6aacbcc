#include "machine.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "program.h"

namespace {

namespace fs = std::filesystem;

constexpr int kNode = 5;

std::string Quoted(const std::string& text) {
    return "'" + text + "'";
}

/// Programs under names of their own, where everybody may come.
void CopyForEveryone(const TemporaryFolder& folder, const std::map<std::string, std::string>& programs) {
    fs::permissions(folder.Path(""), fs::perms(0755));
    fs::create_directory(folder.Path("bin"));
    for (const auto& [name, file] : programs) {
        fs::copy_file(file, folder.Path("bin/" + name));
        fs::permissions(folder.Path("bin/" + name), fs::perms(0755));
    }
}

Json::Value Parsed(const std::string& text) {
    Json::Value json;
    std::istringstream stream(text);
    std::string errors;
    return Json::parseFromStream(Json::CharReaderBuilder(), stream, &json, &errors) ? json : Json::Value();
}

bool HasMark(const Json::Value& finding, const std::string& mark, const std::string& remedy) {
    const std::string found = finding["remedy"].asString();
    return finding["mark"].asString() == mark &&
           (remedy.empty() ? found.empty() : found.find(remedy) != std::string::npos);
}

}  // namespace

Json::Value Said::Finding(const std::string& section, const std::string& words) const {
    for (const Json::Value& one : json["sections"]) {
        for (const Json::Value& finding : one["findings"]) {
            if (one["name"] == section && finding["text"].asString().find(words) != std::string::npos) {
                return finding;
            }
        }
    }
    return {};
}

Machine::Machine() {
    SetUdevdRuns(access("/run/udev/control", F_OK) == 0);
    CopyForEveryone(folder_, {{"quorvex-doctor", DOCTOR_PROGRAM}, {"quorvex", QUORVEX_PROGRAM}});
    for (const char* name : {"home", "run"}) {
        fs::create_directory(folder_.Path(name));
    }
    environment_ = {{"PATH", std::getenv("PATH")},
                    {"HOME", folder_.Path("home")},
                    {"XDG_RUNTIME_DIR", folder_.Path("run")},
                    {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder_.Path("no-session-bus")},
                    {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder_.Path("no-system-bus")},
                    {"QUORVEX_STORE_QUERY", STORE_QUERY_PROGRAM},
                    {"LC_ALL", "C.UTF-8"},
                    {"UMOCKDEV_DIR", std::getenv("UMOCKDEV_DIR")},
                    {"LD_PRELOAD", std::getenv("LD_PRELOAD")}};
    for (const char* name : {"ASAN_OPTIONS", "TSAN_OPTIONS"}) {
        if (const char* value = std::getenv(name)) {
            environment_[name] = value;
        }
    }
}

std::string Machine::TestbedPath(const std::string& path) const {
    return std::getenv("UMOCKDEV_DIR") + path;
}

void Machine::HaveUinput() const {
    fs::create_directories(TestbedPath("/dev"));
    std::ofstream(TestbedPath("/dev/uinput")) << "";
}

// The testbed is its maker's alone, and so is the terminal that stands in for the device.
void Machine::Plug(const PadModel& model) {
    pads_.Plug(kNode, model);
    OutputOf("chmod -R a+rwX " + TestbedPath(""));
    chmod(TestbedPath("/dev/input/event" + std::to_string(kNode)).c_str(), 0666);
}

void Machine::WriteConfig(const std::string& name, const std::string& text) const {
    folder_.Write("home/.config/quorvex/" + name, text);
}

// It prints its first pass once it is ready.
void Machine::StartService(const std::string& variables) {
    const std::string log = folder_.Path("service.log");
    Before("env QUORVEX_KEYS=print QUORVEX_LOG=info " + variables + " " + folder_.Path("bin/quorvex") + " >" + log +
           " 2>&1 &");
    Before("tries=0; until grep -qs 'Loop to handle' " + log + "; do sleep 0.05; tries=$((tries + 1)); " +
           "[ $tries -lt 400 ] || { cat " + log + "; exit 70; }; done");
}

std::string Machine::Script(const std::string& words) const {
    std::string text = "#!/bin/sh\n";
    for (const auto& [name, value] : environment_) {
        text += "export " + name + "=" + Quoted(value) + "\n";
    }
    text += before_;
    if (is_ordinary_user_) {
        text += "setpriv --reuid 65534 --regid 65534 --clear-groups ";
    }
    return text + folder_.Path("bin/quorvex-doctor") + " " + words + "\necho status $?\n";
}

Said Machine::Run(const std::string& words) {
    folder_.Write("script", Script(words));
    if (is_ordinary_user_) {
        OutputOf("chmod -R a+rwX " + folder_.Path(""));
    }
    const std::string alone = "unshare --mount --pid --fork --mount-proc --kill-child ";
    const std::string command = "env -i " + alone + "/bin/sh " + folder_.Path("script") + " 2>&1";
    Said said;
    FILE* pipe = popen(command.c_str(), "r");
    std::array<char, 4096> part{};
    for (std::size_t length = 0; (length = fread(part.data(), 1, part.size(), pipe)) > 0;) {
        said.output.append(part.data(), length);
    }
    pclose(pipe);
    const size_t at = said.output.rfind("status ");
    if (at != std::string::npos) {
        said.status = std::stoi(said.output.substr(at + sizeof "status"));
        said.output.resize(at);
    }
    return said;
}

Said Machine::Look() {
    Said said = Run("--json");
    said.json = Parsed(said.output);
    EXPECT_TRUE(said.json.isObject()) << said.output;
    return said;
}

void Machine::ExpectFinding(const Said& said, const std::string& section, const std::string& words,
                            const std::string& mark, const std::string& remedy) const {
    const Json::Value finding = said.Finding(section, words);
    EXPECT_TRUE(HasMark(finding, mark, remedy)) << section << ": " << words << " (" << mark << ", " << remedy << ")\n"
                                                << said.output;
}
