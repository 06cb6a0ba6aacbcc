#ifndef PLATFORM_LINUX_AUL_APPLICATION_ID_H
#define PLATFORM_LINUX_AUL_APPLICATION_ID_H

#include <sys/types.h>

#include <string>

namespace aul {

/// The id of the process's application: of its desktop entry ("org.example.Game.desktop"), or the name of its
/// executable where no desktop entry is known. Found by the first of these that tells:
///   - the entry that it was started from (GIO_LAUNCHED_DESKTOP_FILE), unless that was inherited from another process;
///   - its systemd unit, as session managers name those of applications ("app-gnome-org.example.Game-4711.scope");
///   - what its window calls the application, when there is a desktop entry of that name or, failing that, one that
///     names it as its StartupWMClass;
///   - the file that it runs.
/// Empty: there is no such process, or it is not for this user to know. Any thread; reads a few small files, for a
/// window that no entry is named after all desktop entries.
std::string ApplicationId(pid_t pid, const std::string& windowApp);

/// The parts that need no process, for themselves. All are empty when there is no id in what is given.
std::string IdFromEnvironment(const std::string& environment, pid_t pid);  ///< "NAME=value", each followed by a 0
std::string IdFromControlGroups(const std::string& groups);                ///< as /proc/<pid>/cgroup has them
std::string IdFromWindow(const std::string& windowApp);

}  // namespace aul

#endif
