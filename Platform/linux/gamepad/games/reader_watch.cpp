#include "gamepad/games/reader_watch.h"

#include <glib-unix.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <set>
#include <utility>

#include "events/events_thread.h"
#include "platform/dlog.h"

namespace games {
namespace {

// Many programs open each input device for a moment to see what it is; only those that stay are of interest.
constexpr gint64 kSettleUs = 50000;
constexpr gint64 kShareOfTime = 10;  // looking takes at most one part in so many

}  // namespace

ReaderWatch::ReaderWatch(GMainContext* context, std::string ignored_readers, NodesFunction nodes,
                         ReadersFunction on_readers)
    : context_(context),
      ignored_path_(std::move(ignored_readers)),
      nodes_(std::move(nodes)),
      on_readers_(std::move(on_readers)),
      timer_(context, [this] { Look(); }) {
    LookSoon();
}

ReaderWatch::~ReaderWatch() {
    CloseInotify();
}

void ReaderWatch::LookSoon() {
    if (!std::exchange(is_looking_soon_, true)) {
        timer_.At(std::max(g_get_monotonic_time() + kSettleUs, may_look_at_));
    }
}

/// The watches are set before anybody is looked for: who opens a node in between is either found or noticed.
void ReaderWatch::Look() {
    is_looking_soon_ = false;
    const gint64 start = g_get_monotonic_time();
    const std::vector<Node> nodes = PresentNodes();
    if (nodes.empty()) {
        CloseInotify();
        ignored_.reset();
        on_readers_({});
        return;
    }
    const std::vector<Reader> readers = Watch(nodes) ? Readers(nodes) : std::vector<Reader>();
    const gint64 end = g_get_monotonic_time();
    may_look_at_ = end + kShareOfTime * (end - start);
    on_readers_(readers);
}

std::vector<Node> ReaderWatch::PresentNodes() const {
    std::vector<Node> present;
    for (const std::string& path : nodes_()) {
        Node node(path);
        if (node.Identify()) {
            present.push_back(std::move(node));
        }
    }
    return present;
}

/// A joystick node may come later than the event node, so the folder tells of new ones. What is watched already stays
/// watched, and the kernel takes the watch of a node with the node.
bool ReaderWatch::Watch(const std::vector<Node>& nodes) {
    if (source_ == nullptr && !OpenInotify()) {
        return false;
    }
    std::set<std::string> folders;
    for (const Node& node : nodes) {
        if (inotify_add_watch(inotify_.Get(), node.Path().c_str(), IN_OPEN | IN_CLOSE) < 0 && errno != ENOENT) {
            Complain(node.Path().c_str(), errno);
        }
        folders.insert(node.Path().substr(0, node.Path().rfind('/')));
    }
    for (const std::string& folder : folders) {
        inotify_add_watch(inotify_.Get(), folder.c_str(), IN_CREATE | IN_MOVED_TO | IN_ONLYDIR);
    }
    return true;
}

bool ReaderWatch::OpenInotify() {
    inotify_ = gamepad::FileDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!inotify_) {
        Complain("inotify", errno);
        return false;
    }
    source_ = g_unix_fd_source_new(inotify_.Get(), G_IO_IN);
    g_source_set_callback(source_, G_SOURCE_FUNC(OnNotice), this, nullptr);
    g_source_attach(source_, context_);
    return true;
}

void ReaderWatch::CloseInotify() {
    if (source_ != nullptr) {
        g_source_destroy(source_);
        g_source_unref(source_);
        source_ = nullptr;
    }
    inotify_ = gamepad::FileDescriptor();
}

/// What exactly happened does not matter: who holds the nodes open now does.
gboolean ReaderWatch::OnNotice(gint fd, GIOCondition /*condition*/, gpointer self) {
    std::array<char, 4096> notices;
    while (read(fd, notices.data(), notices.size()) > 0) {
    }
    DoWork([self] { static_cast<ReaderWatch*>(self)->LookSoon(); });
    return G_SOURCE_CONTINUE;
}

std::vector<Reader> ReaderWatch::Readers(const std::vector<Node>& nodes) {
    if (!ignored_) {
        ignored_.emplace(context_, ignored_path_, [this] { LookSoon(); });
    }
    ignored_->Refresh();
    std::vector<Reader> readers;
    if (!FindReaders(nodes, readers)) {
        Complain("/proc", errno);
    }
    const auto is_ignored = [this](const Reader& reader) { return ignored_->Contains(NameOf(reader.pid)); };
    readers.erase(std::remove_if(readers.begin(), readers.end(), is_ignored), readers.end());
    return readers;
}

void ReaderWatch::Complain(const char* what, int error) {
    if (!std::exchange(has_complained_, true)) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD",
                     "%s: %s; programs that read pads may not be noticed, games registered with GameMode are", what,
                     std::strerror(error));
    }
}

}  // namespace games
