#include "virtual_key/key_map_file.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "events/events_thread.h"
#include "platform/dlog.h"
#include "user_file/file_watch.h"
#include "user_file/user_file.h"

namespace {

void Tell(int priority, const std::string& path, const std::string& what) {
    __dlog_print(LOG_ID_MAIN, priority, "QVXD", "%s: %s", path.c_str(), what.c_str());
}

}  // namespace

/// Used on one thread at a time: first the maker's, then the events thread.
struct KeyMapFile::Follower {
    void Read();
    void ReplaceBy(const std::string& text);
    void NoteTrouble(int trouble);

    const std::string path;
    const std::shared_ptr<KeyMap> map;
    std::string text{};  // as last read
    int toldTrouble = 0;
    EventsThread thread{};
    std::unique_ptr<FileWatch> watch{};
};

KeyMapFile::KeyMapFile(std::string path, std::shared_ptr<KeyMap> map)
    : follower_(new Follower{std::move(path), std::move(map)}) {
    follower_->Read();
    // Once more, for what changed before the watch began.
    follower_->thread.Post([follower = follower_] {
        follower->watch = std::make_unique<FileWatch>(follower->thread.Context(), follower->path,
                                                      [&follower = *follower] { follower.Read(); });
        follower->Read();
    });
}

// The keyboard is given back with locks held that notices want, so what runs on the events thread cannot be waited for.
// The share lasts until the work is handed over; where it is the last one, the thread has no notices to deliver.
KeyMapFile::~KeyMapFile() {
    const EventsThread share;
    share.Post([follower = std::move(follower_)]() mutable {
        follower->watch.reset();
        follower.reset();
    });
}

void KeyMapFile::Follower::Read() {
    const std::optional<std::string> now = TextOf(path);
    const int trouble = now || errno == ENOENT || errno == ENOTDIR ? 0 : errno;
    NoteTrouble(trouble);
    if (now.value_or("") != text) {
        text = now.value_or("");
        ReplaceBy(text);
    }
}

void KeyMapFile::Follower::NoteTrouble(int trouble) {
    if (trouble != 0 && trouble != toldTrouble) {
        Tell(DLOG_ERROR, path, std::string(std::strerror(trouble)) + "; every key is sent as it is");
    }
    toldTrouble = trouble;
}

void KeyMapFile::Follower::ReplaceBy(const std::string& lines) {
    std::vector<std::string> complaints;
    KeyTable table = ReadKeyTable(lines, complaints);
    for (const std::string& complaint : complaints) {
        Tell(DLOG_ERROR, path, complaint);
    }
    Tell(DLOG_INFO, path, "keys that are sent as others: " + std::to_string(table.size()));
    map->Replace(std::move(table));
}
