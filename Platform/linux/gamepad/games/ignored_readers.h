/// The programs that read pads without being games.
#pragma once

#include <glib.h>
#include <sys/stat.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "gamepad/games/processes.h"
#include "user_file/file_watch.h"

namespace games {

/// The built-in ones, sorted; README.md tells why each kind is there.
const std::vector<std::string>& AlwaysIgnored();

/// The names in such a file: one a line, blanks around it and what follows a "#" left out; of a path the last part.
/// What is wrong is added to complaints, a sentence for each line.
std::set<std::string> ReadNames(const std::string& text, std::vector<std::string>& complaints);

/// Threads  those of the context's thread.
/// Errors   a file that is not there names nobody. One that cannot be read is told of once, and names nobody.
class IgnoredReaders {
public:
    /// on_change: the file may have changed; Refresh is to be called. Arrives on the context's thread.
    IgnoredReaders(GMainContext* context, std::string path, std::function<void()> on_change);

    void Refresh();  ///< reads the file again if it changed
    bool Contains(const ProcessName& name) const;

private:
    void Read();
    bool Names(const std::string& name) const;

    const std::string path_;
    FileWatch watch_;
    bool is_stale_ = true;
    struct stat seen_ {};
    int error_ = 0;  // told of already
    std::set<std::string> names_;
};

/// $XDG_CONFIG_HOME/quorvex/ignored-readers
std::string IgnoredReadersPath();

}  // namespace games
