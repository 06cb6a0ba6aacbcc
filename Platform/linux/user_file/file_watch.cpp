#include "user_file/file_watch.h"

#include <glib-unix.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "events/events_thread.h"
#include "platform/dlog.h"

namespace {

constexpr uint32_t kFolderChanges = IN_CREATE | IN_DELETE | IN_MOVED_TO | IN_MOVED_FROM | IN_CLOSE_WRITE | IN_ATTRIB |
                                    IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

}  // namespace

FileWatch::FileWatch(GMainContext* context, std::string path, std::function<void()> on_change)
    : path_(std::move(path)), on_change_(std::move(on_change)), inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    Attach();
    if (folder_ < 0) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s cannot be watched: %s; its changes count at the next start",
                     path_.c_str(), std::strerror(errno));
        return;
    }
    source_ = g_unix_fd_source_new(inotify_.Get(), G_IO_IN);
    g_source_set_callback(source_, G_SOURCE_FUNC(OnEvent), this, nullptr);
    g_source_attach(source_, context);
}

FileWatch::~FileWatch() {
    if (source_ != nullptr) {
        g_source_destroy(source_);
        g_source_unref(source_);
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
        inotify_rm_watch(inotify_.Get(), former);
    }
    inotify_add_watch(inotify_.Get(), path_.c_str(), IN_CLOSE_WRITE);
}

/// Of the folder that the file lies in, or else of the first above that is there; -1: of none.
int FileWatch::WatchNearestFolder() {
    std::size_t end = path_.size();
    for (std::size_t slash = path_.rfind('/'); slash != std::string::npos; slash = path_.rfind('/', slash - 1)) {
        const std::string folder = slash == 0 ? "/" : path_.substr(0, slash);
        const int watch = inotify_add_watch(inotify_.Get(), folder.c_str(), kFolderChanges);
        if (watch >= 0 || slash == 0) {
            wanted_ = path_.substr(slash + 1, end - slash - 1);
            return watch;
        }
        end = slash;
    }
    return -1;
}

/// True: something happened to what leads to the file, or to the file itself.
bool FileWatch::ReadEvents() {
    alignas(inotify_event) std::array<char, 4096> buffer;
    bool is_wanted = false;
    ssize_t length = 0;
    while ((length = read(inotify_.Get(), buffer.data(), buffer.size())) > 0) {
        for (ssize_t at = 0; at < length;) {
            inotify_event event;
            std::memcpy(&event, buffer.data() + at, sizeof event);
            const char* const name = buffer.data() + at + sizeof event;
            is_wanted = is_wanted || event.len == 0 || wanted_ == name;
            at += static_cast<ssize_t>(sizeof event + event.len);
        }
    }
    return is_wanted;
}

gboolean FileWatch::OnEvent(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
    DoWork([&watch = *static_cast<FileWatch*>(self)] {
        if (watch.ReadEvents()) {
            watch.Attach();
            watch.on_change_();
        }
    });
    return G_SOURCE_CONTINUE;
}
