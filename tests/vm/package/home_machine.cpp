#include "home_machine.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <sstream>

#include "deadline.h"

namespace {

constexpr const char* kViewersManager = "systemctl --user --machine=viewer@.host ";

bool Succeeds(const std::string& commandLine) {
    return RunAsRoot(commandLine).status == 0;
}

bool SessionRuns() {
    return Succeeds(std::string(kViewersManager) + "--quiet is-active graphical-session.target");
}

void Apt(const std::string& words) {
    const Outcome outcome = RunAsRoot("DEBIAN_FRONTEND=noninteractive apt-get --quiet --yes " + words);
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(outcome.output.find("warning:"), std::string::npos) << outcome.output;
}

}  // namespace

Outcome RunAsRoot(const std::string& commandLine) {
    Outcome outcome{-1, ""};
    FILE* pipe = popen(("{ " + commandLine + "; } 2>&1 </dev/null").c_str(), "re");
    if (pipe == nullptr) {
        return outcome;
    }
    std::array<char, 4096> block{};
    while (const size_t count = fread(block.data(), 1, block.size(), pipe)) {
        outcome.output.append(block.data(), count);
    }
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}

Outcome RunAsViewer(const std::string& commandLine) {
    return RunAsRoot("runuser --login viewer --shell /bin/sh --command 'export XDG_RUNTIME_DIR=/run/user/$(id -u); " +
                     commandLine + "'");
}

void LogIn() {
    if (SessionRuns()) {
        return;
    }
    EXPECT_TRUE(Succeeds("systemctl start getty@tty1.service"));
    EXPECT_TRUE(Until(SessionRuns)) << RunAsRoot("journalctl --no-pager --lines=50").output;
}

void LogOut() {
    RunAsRoot("systemctl stop getty@tty1.service; loginctl terminate-user viewer");
    EXPECT_TRUE(Until([] { return !Succeeds("systemctl --quiet is-active user@$(id -u viewer).service"); }));
}

void Install(const std::string& packageFile) {
    Apt("install " + packageFile);
}

void Reinstall(const std::string& packageFile) {
    Apt("install --reinstall " + packageFile);
}

void Purge() {
    Apt("purge --auto-remove quorvex");
}

std::string InstalledVersion() {
    const Outcome outcome = RunAsRoot("dpkg-query --show --showformat='${db:Status-Status} ${Version}' quorvex");
    const std::string installed = "installed ";
    return outcome.output.rfind(installed, 0) == 0 ? outcome.output.substr(installed.size()) : "";
}

pid_t ServiceProcess() {
    return std::atoi(
        RunAsRoot(std::string(kViewersManager) + "show --property=MainPID --value quorvex.service").output.c_str());
}

std::set<std::string> AllFiles() {
    const Outcome outcome = RunAsRoot(
        "find / -xdev \\( -path /share -o -path /out -o -path /tmp -o -path /var/log -o -path /var/tmp"
        " -o -path /var/cache -o -path /var/lib/apt -o -path /var/lib/systemd -o -path /home -o -name '*-old'"
        " -o -path /var/lib/dpkg/triggers \\) -prune -o -print");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    std::istringstream lines(outcome.output);
    std::set<std::string> files;
    for (std::string line; std::getline(lines, line);) {
        files.insert(line);
    }
    return files;
}
