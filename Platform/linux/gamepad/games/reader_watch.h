/// Which processes read pads, told by the kernel's notices of the pads' nodes.
#pragma once

#include <glib.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "events/path_watch.h"
#include "gamepad/games/ignored_readers.h"
#include "gamepad/games/reader_search.h"
#include "gamepad/games/timer.h"

namespace games {

/// Looks for readers shortly after a node was opened or closed, and never otherwise. What happens in quick succession
/// is looked at once, and looking takes at most a tenth of the thread's time.
///
/// Threads  made, used and destroyed on the context's thread, where the callbacks arrive; they must not destroy this.
/// Limits   a descriptor that is handed to another process without an open, and closed there while a third one still
///          holds it, gives no notice: such a reader is found at the next one.
/// Errors   one message when the nodes or /proc cannot be watched; there are no readers then.
class ReaderWatch {
public:
    using NodesFunction = std::function<std::vector<std::string>()>;  ///< the paths of the nodes as of now
    using ReadersFunction = std::function<void(const std::vector<Reader>& readers)>;

    ReaderWatch(GMainContext* context, std::string ignored_readers, NodesFunction nodes, ReadersFunction on_readers);
    ReaderWatch(const ReaderWatch&) = delete;
    ReaderWatch& operator=(const ReaderWatch&) = delete;

    /// The nodes changed, or a reader ended.
    void LookSoon();

private:
    void Look();
    std::vector<Node> PresentNodes() const;
    bool Watch(const std::vector<Node>& nodes);
    std::vector<Reader> Readers(const std::vector<Node>& nodes);
    void Complain(const char* what, int error);

    GMainContext* const context_;
    const std::string ignored_path_;
    const NodesFunction nodes_;
    const ReadersFunction on_readers_;
    Timer timer_;
    bool is_looking_soon_ = false;
    gint64 may_look_at_ = 0;
    // Both only while there are nodes.
    std::optional<PathWatch> opens_;
    std::optional<IgnoredReaders> ignored_;
    bool has_complained_ = false;
};

}  // namespace games
