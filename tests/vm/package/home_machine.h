/// The machine that the test runs on: somebody's Debian system, where packages come and go and somebody sits down.
///
/// Threads  one. The test is root; nothing here throws, a command that fails is a failed test.
#pragma once

#include <set>
#include <string>

struct Outcome {
    int status;  // of the command; 128 and more for a signal
    std::string output;
};

/// Runs a command line to its end, as root.
Outcome RunAsRoot(const std::string& commandLine);

/// The same, as the person who uses the machine, with the environment of a login.
Outcome RunAsViewer(const std::string& commandLine);

/// A session at the seat with a desktop, up to its graphical-session.target. Both wait until it has happened.
void LogIn();
void LogOut();

void Install(const std::string& packageFile);
void Reinstall(const std::string& packageFile);
void Purge();
/// Empty where the package is not installed.
std::string InstalledVersion();

/// The process of the service in the session; 0 where none runs.
pid_t ServiceProcess();

/// Every file and folder of the system, without what lives and dies with programs and without apt's and dpkg's own.
std::set<std::string> AllFiles();
