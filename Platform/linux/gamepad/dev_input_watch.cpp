#include "gamepad/dev_input_watch.h"

#include <platform/dlog.h>
#include <sys/inotify.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace gamepad {
namespace {

bool StartsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

}  // namespace

bool IsEventNode(const std::string& path) {
    return StartsWith(path, std::string(kNodeFolder) + "/event");
}

std::vector<std::string> EventNodes() {
    std::vector<std::string> nodes;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(kNodeFolder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (IsEventNode(entry->path().string())) {
            nodes.push_back(entry->path().string());
        }
    }
    if (error && error != std::errc::no_such_file_or_directory) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s: %s; pads that are connected now may not be found",
                     kNodeFolder, error.message().c_str());
    }
    return nodes;
}

DevInputWatch::DevInputWatch(const std::string& folder)
    : parent_folder_(std::filesystem::path(folder).parent_path()),
      folder_name_(std::filesystem::path(folder).filename()) {}

bool DevInputWatch::Open() {
    inotify_ = FileDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (inotify_) {
        Attach();
    }
    return static_cast<bool>(inotify_);
}

/// The parent is watched first: the folder may appear between the two calls. True: the folder is watched from now on.
bool DevInputWatch::Attach() {
    const std::string folder = parent_folder_ + "/" + folder_name_;
    parent_watch_ = inotify_add_watch(inotify_.Get(), parent_folder_.c_str(), IN_CREATE | IN_MOVED_TO | IN_ONLYDIR);
    folder_watch_ = inotify_add_watch(inotify_.Get(), folder.c_str(),
                                      IN_CREATE | IN_ATTRIB | IN_DELETE | IN_MOVED_TO | IN_MOVED_FROM | IN_ONLYDIR);
    if (folder_watch_ >= 0 && parent_watch_ >= 0) {
        inotify_rm_watch(inotify_.Get(), parent_watch_);
        parent_watch_ = -1;
    }
    return folder_watch_ >= 0;
}

void DevInputWatch::Note(const inotify_event& event, const std::string& name, Changes& changes) {
    const bool folder_went = event.wd == folder_watch_ && (event.mask & IN_IGNORED) != 0;
    const bool folder_came = event.wd == parent_watch_ && name == folder_name_;
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
        changes.everything = true;
    } else if (folder_went || folder_came) {
        changes.everything = Attach() || folder_went || changes.everything;
    } else if (event.wd == folder_watch_ && StartsWith(name, "event")) {
        changes.nodes.push_back(parent_folder_ + "/" + folder_name_ + "/" + name);
    }
}

DevInputWatch::Changes DevInputWatch::Read() {
    Changes changes;
    std::array<char, 4096> buffer{};
    ssize_t length = 0;
    while ((length = read(inotify_.Get(), buffer.data(), buffer.size())) > 0) {
        for (ssize_t at = 0; at < length;) {
            inotify_event event{};
            std::memcpy(&event, buffer.data() + at, sizeof event);
            Note(event, event.len > 0 ? buffer.data() + at + sizeof event : "", changes);
            at += static_cast<ssize_t>(sizeof event + event.len);
        }
    }
    return changes;
}

}  // namespace gamepad
