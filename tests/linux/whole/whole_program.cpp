#include "whole_program.h"

#include <gmock/gmock.h>
#include <linux/input.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "program.h"

namespace {

namespace fs = std::filesystem;

constexpr int kNode = 5;
constexpr char kFirstPass[] = "Loop to handle gamepad key event";

// Where the program lies, an ordinary user may not come.
std::string CopyForEveryone(const TemporaryFolder& folder, const char* file, const char* name) {
    const std::string copy = folder.Path(name);
    fs::permissions(folder.Path(""), fs::perms(0755));
    fs::copy_file(file, copy);
    fs::permissions(copy, fs::perms(0755));
    return copy;
}

// Root may mount what it likes in a namespace of its own; others may in one in which they have root's rights.
std::string InOwnNamespace() {
    return geteuid() == 0 ? "unshare --mount" : "unshare --map-current-user --keep-caps --mount";
}

// The service's own messages say where they come from, as in "CVConf.cpp: ".
bool IsFromPlatform(const std::string& line) {
    return line.find(" QVXD: ") != std::string::npos && line.find(".cpp: ") == std::string::npos;
}

}  // namespace

WholeProgram::WholeProgram() : program_path_(CopyForEveryone(folder_, QUORVEX_PROGRAM, "program")) {
    SetUdevdRuns(access("/run/udev/control", F_OK) == 0);
    for (const char* const name : {"home", "run"}) {
        fs::create_directory(folder_.Path(name));
    }
    environment_ = {
        {"QUORVEX_LOG", "info"},
        {"QUORVEX_KEYS", "print"},
        {"PATH", std::getenv("PATH")},
        {"HOME", folder_.Path("home")},
        {"XDG_RUNTIME_DIR", folder_.Path("run")},
        {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder_.Path("no-session-bus")},
        {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder_.Path("no-system-bus")},
        {"UMOCKDEV_DIR", std::getenv("UMOCKDEV_DIR")},
        {"LD_PRELOAD", CopyForEveryone(folder_, OWN_SIGNAL_MASKS, "masks.so") + ":" + std::getenv("LD_PRELOAD")}};
}

// The testbed is its maker's alone, and so is the terminal that stands in for the device.
void WholeProgram::Plug(int pads) {
    const std::string root = std::getenv("UMOCKDEV_DIR");
    for (int node = kNode; node < kNode + pads; ++node) {
        pads_.Plug(node, StandardPad());
        OutputOf("chmod -R a+rwX " + root);
        chmod((root + "/dev/input/event" + std::to_string(node)).c_str(), 0666);
    }
}

ServiceOptions WholeProgram::Options(uid_t user) const {
    ServiceOptions options;
    options.user = user;
    for (const auto& [name, value] : environment_) {
        options.environment.push_back(name + "=" + value);
    }
    return options;
}

void WholeProgram::Start(uid_t user) {
    setenv("QUORVEX_PROGRAM", program_path_.c_str(), 1);
    started_ = Clock::now();
    program_ = std::make_unique<Service>(Options(user));
    AwaitFirstPass();
}

void WholeProgram::StartAfter(const std::string& commands) {
    std::ofstream(folder_.Path("start")) << "#!/bin/sh\nexec " << InOwnNamespace() << " sh -ec '" << commands
                                         << "; exec " << program_path_ << "'\n";
    fs::permissions(folder_.Path("start"), fs::perms(0755));
    setenv("QUORVEX_PROGRAM", folder_.Path("start").c_str(), 1);
    started_ = Clock::now();
    program_ = std::make_unique<Service>(Options(0));
    AwaitFirstPass();
}

void WholeProgram::AwaitFirstPass() {
    ASSERT_TRUE(program_->Prints(kFirstPass)) << program_->Tail();
    const auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - started_);
    std::cout << "first pass after " << took.count() << " ms" << std::endl;
    EXPECT_LT(took, kStartUp) << program_->Tail();
}

void WholeProgram::ExpectKeys() {
    const size_t from = program_->Now();
    pads_.Send(kNode, EV_KEY, BTN_SOUTH, 1);
    EXPECT_TRUE(program_->Prints("KEY_ENTER 36 press", from)) << program_->Tail();
    pads_.Send(kNode, EV_KEY, BTN_SOUTH, 0);
    EXPECT_TRUE(program_->Prints("KEY_ENTER 36 release", from)) << program_->Tail();
}

void WholeProgram::ExpectGoodEndAfter(std::vector<std::string> told, const std::string& may_tell) {
    for (const std::string& beginning : told) {
        EXPECT_TRUE(program_->Prints("QVXD: " + beginning)) << beginning << '\n' << program_->Tail();
    }
    program_->Terminate();
    EXPECT_EQ(program_->ExitStatus(), 0) << program_->Tail();
    told.insert(told.end(), {"virtual_key: keys are printed to standard output", "pad connected: "});
    std::vector<testing::Matcher<std::string>> each;
    for (const std::string& beginning : told) {
        each.emplace_back(testing::StartsWith(beginning));
    }
    std::vector<std::string> messages = Messages();
    const auto may = [&](const std::string& message) { return message.rfind(may_tell, 0) == 0; };
    messages.erase(std::remove_if(messages.begin(), messages.end(), may), messages.end());
    EXPECT_THAT(messages, testing::UnorderedElementsAreArray(each)) << program_->Tail();
}

std::vector<std::string> WholeProgram::Messages() {
    std::vector<std::string> messages;
    std::istringstream lines(program_->Tail(program_->Now()));
    for (std::string line; std::getline(lines, line);) {
        if (IsFromPlatform(line)) {
            messages.push_back(line.substr(line.find("QVXD: ") + sizeof "QVXD: " - 1));
        }
    }
    return messages;
}
