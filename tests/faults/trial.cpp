#include "trial.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kAtMost{60};

/// The child's standard output and error. A file: what it writes must not wait for a reader.
class Report {
public:
    Report() : file_(tmpfile()) {}
    ~Report() { fclose(file_); }
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    void BecomeOutput() const {
        dup2(fileno(file_), STDOUT_FILENO);
        dup2(fileno(file_), STDERR_FILENO);
    }
    std::string Text() const {
        std::string text;
        rewind(file_);
        for (int character = fgetc(file_); character != EOF; character = fgetc(file_)) {
            text += static_cast<char>(character);
        }
        return text;
    }

private:
    FILE* file_;
};

struct Child {
    Child(const Fault& whichFault, const std::string& directory)
        : fault(whichFault), report(std::make_unique<Report>()), deadline(Clock::now() + kAtMost) {
        pid = fork();
        if (pid == 0) {
            report->BecomeOutput();
            Tell(LiveAMinute(fault, directory));
            fflush(nullptr);
            _exit(0);
        }
    }

    static void Tell(const Outcome& outcome) {
        for (const auto& [function, count] : outcome.counts) {
            printf("COUNT %s %d\n", function.c_str(), count);
        }
        for (const std::string& problem : outcome.problems) {
            printf("PROBLEM %s\n", problem.c_str());
        }
        printf("DONE %d\n", outcome.isReached ? 1 : 0);
    }

    Fault fault;
    std::unique_ptr<Report> report;
    Clock::time_point deadline;
    pid_t pid = 0;
};

std::string Ending(int status) {
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGKILL ? "it did not end" : std::string("it died: ") + strsignal(WTERMSIG(status));
    }
    return "it ended with status " + std::to_string(WEXITSTATUS(status));
}

Outcome Read(const Child& child, int status) {
    Outcome outcome{child.fault, false, {}, {}};
    std::istringstream text(child.report->Text());
    std::string others;
    bool isDone = false;
    for (std::string word; text >> word;) {
        std::string rest;
        std::getline(text, rest);
        if (word == "COUNT") {
            std::istringstream fields(rest);
            std::string function;
            fields >> function;
            fields >> outcome.counts[function];
        } else if (word == "PROBLEM") {
            outcome.problems.push_back(rest);
        } else if (word == "DONE") {
            isDone = true;
            outcome.isReached = rest == " 1";
        } else {
            others += "\n      " + word + rest;
        }
    }
    if (!isDone || status != 0) {
        outcome.isReached = true;
        outcome.problems.push_back(Ending(status));
    }
    if (!outcome.problems.empty() && !others.empty()) {
        outcome.problems.push_back("it wrote:" + others);
    }
    return outcome;
}

/// Takes one child that has ended out of the list, or kills one that takes too long. Waits a little for neither.
bool TakeEnded(std::vector<Child>& children, std::vector<Outcome>& outcomes) {
    for (auto child = children.begin(); child != children.end(); ++child) {
        int status = 0;
        if (waitpid(child->pid, &status, WNOHANG) == child->pid) {
            outcomes.push_back(Read(*child, status));
            children.erase(child);
            return true;
        }
        if (Clock::now() > child->deadline) {
            kill(child->pid, SIGKILL);
        }
    }
    usleep(1000);
    return false;
}

}  // namespace

void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << "call " << outcome.fault.nth << " of " << outcome.fault.function << ':';
    for (const std::string& problem : outcome.problems) {
        *out << "\n    " << problem;
    }
}

std::vector<Outcome> LiveMinutes(const std::vector<Fault>& faults, const std::string& directory) {
    const size_t atOnce = 2 * std::max(1U, std::thread::hardware_concurrency());
    std::vector<Child> children;
    std::vector<Outcome> outcomes;
    for (const Fault& fault : faults) {
        while (children.size() >= atOnce) {
            TakeEnded(children, outcomes);
        }
        children.emplace_back(fault, directory);
    }
    while (!children.empty()) {
        TakeEnded(children, outcomes);
    }
    return outcomes;
}
