/// Windows on an X server, and who manages them.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "../games/temporary_folder.h"
#include "program.h"

/// openbox, ready for windows.
class WindowManager {
public:
    // It runs the command once it is ready. Its theme is where the machine has it, wherever the test keeps its data. It
    // is none of the pads' test bed's business, whose locks a command may inherit from one of openbox's threads.
    WindowManager()
        : program_({"openbox", "--sm-disable", "--startup", "touch " + folder_.Path("ready")},
                   {{{"XDG_DATA_DIRS", ""}, {"LD_PRELOAD", ""}}, /*isOrdinaryUser=*/false, /*output=*/{}}) {
        EXPECT_TRUE(WaitUntil([&] { return std::filesystem::exists(folder_.Path("ready")); }));
    }

private:
    TemporaryFolder folder_;
    Program program_;
};

inline std::string ToolPath() {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "x11_window").string();
}

/// A process with a window. Another program may stand before it on the command line.
class Window {
public:
    explicit Window(const std::vector<std::string>& options = {}, std::vector<std::string> before = {}) {
        before.push_back(ToolPath());
        before.insert(before.end(), options.begin(), options.end());
        Program::Setting setting;
        setting.output = output_.Path("out");
        program_ = std::make_unique<Program>(before, setting);
        EXPECT_TRUE(WaitUntil([&] { return std::ifstream(output_.Path("out")) >> id_ >> pid_ ? true : false; }));
    }
    int Pid() const { return pid_; }
    int StartedAs() const { return program_->Id(); }
    void Activate() const { OutputOf(ToolPath() + " --activate " + std::to_string(id_)); }
    void Close() const { kill(pid_, SIGUSR1); }
    void Kill() { program_->Kill(); }

private:
    TemporaryFolder output_;
    std::unique_ptr<Program> program_;
    unsigned id_ = 0;
    int pid_ = 0;
};
