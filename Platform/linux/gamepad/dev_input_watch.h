/// What happens to the nodes in /dev/input, told by the kernel itself.
#pragma once

#include <string>
#include <vector>

#include "gamepad/file_descriptor.h"

struct inotify_event;

namespace gamepad {

inline constexpr const char* kNodeFolder = "/dev/input";

/// The event nodes that exist now; empty when there is no such folder.
std::vector<std::string> EventNodes();
bool IsEventNode(const std::string& path);

/// Also waits for the folder itself, which is not there before the first input device is.
///
/// Threads  one at a time.
class DevInputWatch {
public:
    struct Changes {
        bool everything = false;         // the folder is new, or too much happened: look at all nodes again
        std::vector<std::string> nodes;  // came, went, or got other access rights; in order
    };

    explicit DevInputWatch(const std::string& folder = kNodeFolder);

    bool Open();  ///< false: errno tells why
    int Fd() const { return inotify_.Get(); }
    Changes Read();

private:
    bool Attach();
    void Note(const inotify_event& event, const std::string& name, Changes& changes);

    std::string parent_folder_;
    std::string folder_name_;
    FileDescriptor inotify_;
    int folder_watch_ = -1;
    int parent_watch_ = -1;
};

}  // namespace gamepad
