#include "user_file/file_watch.h"

#include <sys/inotify.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/dlog.h"

namespace {

constexpr uint32_t kFolderChanges = IN_CREATE | IN_DELETE | IN_MOVED_TO | IN_MOVED_FROM | IN_CLOSE_WRITE | IN_ATTRIB |
                                    IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

}  // namespace

FileWatch::FileWatch(GMainContext* context, std::string path, std::function<void()> on_change)
    : path_(std::move(path)),
      on_change_(std::move(on_change)),
      watch_(context, [this](const auto& notices) { OnNotices(notices); }) {
    Attach();
    if (folder_ < 0) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s cannot be watched: %s; its changes count at the next start",
                     path_.c_str(), std::strerror(errno));
    }
}

/// Once a folder is watched, the nearest is looked for again: one nearer to the file may have come in between. The file
/// has a watch of its own, because it may be a link to another place.
void FileWatch::Attach() {
    const int former = folder_;
    folder_ = WatchNearestFolder();
    for (int again = WatchNearestFolder(); again != folder_; again = WatchNearestFolder()) {
        folder_ = again;
    }
    if (former >= 0 && former != folder_) {
        watch_.Remove(former);
    }
    watch_.Add(path_, IN_CLOSE_WRITE);
}

/// Of the folder that the file lies in, or else of the first above that is there; -1: of none.
int FileWatch::WatchNearestFolder() {
    std::size_t end = path_.size();
    for (std::size_t slash = path_.rfind('/'); slash != std::string::npos; slash = path_.rfind('/', slash - 1)) {
        const std::string folder = slash == 0 ? "/" : path_.substr(0, slash);
        const int watch = watch_.Add(folder, kFolderChanges);
        if (watch >= 0 || slash == 0) {
            wanted_ = path_.substr(slash + 1, end - slash - 1);
            return watch;
        }
        end = slash;
    }
    return -1;
}

/// What happened to what leads to the file, or to the file itself.
void FileWatch::OnNotices(const std::vector<PathWatch::Notice>& notices) {
    const auto is_wanted = [this](const auto& notice) { return notice.name.empty() || notice.name == wanted_; };
    if (std::any_of(notices.begin(), notices.end(), is_wanted)) {
        Attach();
        on_change_();
    }
}
