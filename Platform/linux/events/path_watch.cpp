#include "events/path_watch.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "events/context_source.h"
#include "events/events_thread.h"
#include "events/members.h"
#include "gamepad/file_descriptor.h"

/// The descriptor, and who shares it.
class PathWatch::Inotify : public std::enable_shared_from_this<Inotify> {
public:
    static std::shared_ptr<Inotify> Of(GMainContext* context);
    explicit Inotify(GMainContext* context) : context_(context) {}

    void Join(PathWatch& watch) { members_.Add(watch); }
    void Leave(PathWatch& watch);
    bool IsOpen();
    int Add(const std::string& path, uint32_t mask);
    void RemoveUnlessWatched(int watch);

private:
    std::vector<Notice> Read() const;
    void Tell();

    GMainContext* const context_;
    gamepad::FileDescriptor file_;
    ContextSource readable_;
    Members<PathWatch> members_;
};

std::shared_ptr<PathWatch::Inotify> PathWatch::Inotify::Of(GMainContext* context) {
    static thread_local std::weak_ptr<Inotify> latest;
    std::shared_ptr<Inotify> inotify = latest.lock();
    if (inotify == nullptr || inotify->context_ != context) {
        // Not in one piece with its counts: those live as long as `latest` and would keep its memory.
        inotify = std::shared_ptr<Inotify>(new Inotify(context));
        latest = inotify;
    }
    return inotify;
}

void PathWatch::Inotify::Leave(PathWatch& watch) {
    members_.Remove(watch);
    for (const auto& [number, mask] : watch.masks_) {
        RemoveUnlessWatched(number);
    }
}

// What another member wants of the same path stays.
int PathWatch::Inotify::Add(const std::string& path, uint32_t mask) {
    return IsOpen() ? inotify_add_watch(file_.Get(), path.c_str(), mask | IN_MASK_ADD) : -1;
}

bool PathWatch::Inotify::IsOpen() {
    if (!file_) {
        file_ = gamepad::FileDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
        if (file_) {
            readable_.WhenReadable(context_, file_.Get(), [this] { Tell(); });
        }
    }
    return static_cast<bool>(file_);
}

void PathWatch::Inotify::RemoveUnlessWatched(int watch) {
    if (!members_.Any([&](const PathWatch& member) { return member.masks_.count(watch) > 0; })) {
        inotify_rm_watch(file_.Get(), watch);
    }
}

// As much as one read gives: other sources of the context get their turn in a storm.
std::vector<PathWatch::Notice> PathWatch::Inotify::Read() const {
    std::vector<Notice> notices;
    std::array<char, 4096> buffer;
    const ssize_t length = read(file_.Get(), buffer.data(), buffer.size());
    for (ssize_t at = 0; at < length;) {
        inotify_event event{};
        std::memcpy(&event, &buffer[static_cast<size_t>(at)], sizeof event);
        at += static_cast<ssize_t>(sizeof event);
        notices.push_back({event.wd, event.mask, event.len > 0 ? &buffer[static_cast<size_t>(at)] : ""});
        at += event.len;
    }
    return notices;
}

// A member may end the last one, itself.
void PathWatch::Inotify::Tell() {
    const std::shared_ptr<Inotify> stay = shared_from_this();
    const std::vector<Notice> notices = Read();
    members_.ForEach([&](PathWatch& member) { DoWork([&] { member.Tell(notices); }); });
}

PathWatch::PathWatch(GMainContext* context, OnNotices onNotices)
    : inotify_(Inotify::Of(context)), onNotices_(std::move(onNotices)) {
    inotify_->Join(*this);
}

PathWatch::~PathWatch() {
    inotify_->Leave(*this);
}

bool PathWatch::Works() {
    return inotify_->IsOpen();
}

int PathWatch::Add(const std::string& path, uint32_t mask) {
    const int watch = inotify_->Add(path, mask);
    if (watch >= 0) {
        masks_[watch] |= mask;
    }
    return watch;
}

void PathWatch::Remove(int watch) {
    if (masks_.erase(watch) > 0) {
        inotify_->RemoveUnlessWatched(watch);
    }
}

// The kernel may tell more of a path than this one wants, because others want it.
void PathWatch::Tell(const std::vector<Notice>& all) {
    constexpr uint32_t kUnasked = IN_IGNORED | IN_UNMOUNT;
    std::vector<Notice> notices;
    for (const Notice& notice : all) {
        const auto mask = masks_.find(notice.watch);
        if (notice.watch < 0 || (mask != masks_.end() && (notice.mask & (mask->second | kUnasked)) != 0)) {
            notices.push_back(notice);
        }
        if ((notice.mask & IN_IGNORED) != 0) {
            masks_.erase(notice.watch);
        }
    }
    if (!notices.empty()) {
        const OnNotices tell = onNotices_;
        tell(notices);
    }
}
