#ifndef TESTS_LINUX_SUPPORT_PROGRAM_H
#define TESTS_LINUX_SUPPORT_PROGRAM_H

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

/// A program that runs beside the test, with all that it starts, until Kill or the end of this object.
class Program {
public:
    struct Setting {
        std::map<std::string, std::string> environment;  ///< added to the test's own; an empty value unsets
        bool isOrdinaryUser = false;                     ///< not root, also where the test is
        std::string output;                              ///< file for what it prints; nowhere when empty
    };

    explicit Program(const std::vector<std::string>& command) : Program(command, Setting()) {}
    Program(const std::vector<std::string>& command, const Setting& setting);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t Id() const { return pid_; }
    void Kill();

private:
    pid_t pid_;
};

/// Runs a command line to its end; what it printed, without the last line feed.
std::string OutputOf(const std::string& commandLine);

/// Asks until the condition holds; false after twenty seconds.
bool WaitUntil(const std::function<bool()>& condition);

constexpr uid_t kOrdinaryUser = 65534;

#endif
