#include "gamepad/games/reader_watch.h"

#include <sys/inotify.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <utility>

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
        opens_.reset();
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
/// watched, and the kernel takes the watch of a node with the node. What exactly is noticed does not matter: who holds
/// the nodes open then does.
bool ReaderWatch::Watch(const std::vector<Node>& nodes) {
    if (!opens_) {
        opens_.emplace(context_, [this](const auto& /*notices*/) { LookSoon(); });
    }
    if (!opens_->Works()) {
        Complain("inotify", errno);
        return false;
    }
    std::set<std::string> folders;
    for (const Node& node : nodes) {
        if (opens_->Add(node.Path(), IN_OPEN | IN_CLOSE) < 0 && errno != ENOENT) {
            Complain(node.Path().c_str(), errno);
        }
        folders.insert(node.Path().substr(0, node.Path().rfind('/')));
    }
    for (const std::string& folder : folders) {
        opens_->Add(folder, IN_CREATE | IN_MOVED_TO | IN_ONLYDIR);
    }
    return true;
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
