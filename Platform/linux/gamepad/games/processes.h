/// What /proc tells of a process. All of it may be out of date at once.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace games {

/// The name of the file that it runs, and the name that the kernel gave it: for a script that is the script's, cut to
/// 15 characters. Both empty: no such process, or not for this user to know.
struct ProcessName {
    std::string executable;
    std::string command;
};
ProcessName NameOf(pid_t pid);

pid_t ParentOf(pid_t pid);  ///< 0: none

/// The first that is wanted of the process itself, its parent, and so on; 0: none.
pid_t NearestAncestor(pid_t pid, const std::function<bool(pid_t)>& is_wanted);

}  // namespace games
