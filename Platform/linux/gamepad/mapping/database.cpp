#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <platform/dlog.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "gamepad/mapping/built_in.h"
#include "gamepad/mapping/mapping.h"

namespace mapping {
namespace {

constexpr char kTag[] = "QVXD";
constexpr off_t kMostBytes = 8 << 20;  // the whole community collection is under 1 MiB
constexpr int kMostTold = 10;          // of one text; a wrong file would fill the log

// A text with mappings, read in one piece and thrown away after the look-up.
struct Text {
    std::string origin;
    std::string content;
    std::string problem;    // why there is no content
    std::string signature;  // another one when the text was changed
};

std::string StringOf(const char* text) {
    return text == nullptr ? "" : text;
}

// The XDG rule: a path that is not absolute counts as unset.
std::string ConfigHome() {
    std::string configured = StringOf(std::getenv("XDG_CONFIG_HOME"));
    if (!configured.empty() && configured[0] == '/') {
        return configured;
    }
    const std::string home = StringOf(std::getenv("HOME"));
    return home.empty() ? "" : home + "/.config";
}

class File {
public:
    explicit File(const std::string& path) : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~File() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    int Descriptor() const { return descriptor_; }

private:
    const int descriptor_;
};

bool ReadAll(int descriptor, std::string& content) {
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t count = read(descriptor, &content[done], content.size() - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return false;
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    content.resize(done);
    return true;
}

std::string SignatureOf(const struct stat& status) {
    return std::to_string(status.st_ino) + '/' + std::to_string(status.st_size) + '/' +
           std::to_string(status.st_mtim.tv_sec) + '/' + std::to_string(status.st_mtim.tv_nsec);
}

Text WithProblem(const std::string& path, const std::string& problem) {
    return {path, "", problem, problem};
}

Text ReadFile(const std::string& path) {
    const File file(path);
    struct stat status {};
    if (file.Descriptor() < 0 || fstat(file.Descriptor(), &status) != 0) {
        return WithProblem(path, std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return WithProblem(path, "not a regular file");
    }
    if (status.st_size > kMostBytes) {
        return WithProblem(path, "larger than " + std::to_string(kMostBytes) + " bytes");
    }
    Text text{path, std::string(static_cast<std::size_t>(status.st_size), '\0'), "", SignatureOf(status)};
    return ReadAll(file.Descriptor(), text.content) ? text : WithProblem(path, std::strerror(errno));
}

bool Exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

// In rising order of precedence.
std::vector<Text> Read(const Sources& sources) {
    std::vector<Text> texts;
    if (!sources.environmentFile.empty()) {
        texts.push_back(ReadFile(sources.environmentFile));
    }
    if (!sources.environmentText.empty()) {
        texts.push_back({"$SDL_GAMECONTROLLERCONFIG", sources.environmentText, "", "told"});
    }
    if (!sources.userFile.empty() && Exists(sources.userFile)) {
        texts.push_back(ReadFile(sources.userFile));
    }
    return texts;
}

std::string_view TakeLine(std::string_view& text) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

// The best mapping so far for one device.
class Search {
public:
    explicit Search(const DeviceId& id) : guid_(Guid::Of(id)), checksum_(NameChecksum(id.name)) {}

    // Among equals an earlier offer stays.
    void OfferWeakly(Mapping&& mapping) { Offer(std::move(mapping), rank_ + 1); }
    void Offer(Mapping&& mapping) { Offer(std::move(mapping), std::max(rank_, 1)); }

    // Cheap, so that only the lines of this device need to be parsed.
    bool Concerns(std::string_view line) const {
        constexpr std::size_t kGuidDigits = 32;
        const auto guid = Guid::Parse(line.substr(0, kGuidDigits));
        return guid && guid->WithoutChecksum().WithoutVersion() == guid_.WithoutVersion();
    }

    std::optional<Mapping> TakeBest() { return std::move(best_); }

private:
    void Offer(Mapping&& mapping, int leastRank) {
        const int rank = RankOf(mapping);
        if (rank >= leastRank) {
            rank_ = rank;
            best_ = std::move(mapping);
        }
    }

    // The version weighs more than the checksum, and no checksum more than another one: names change with drivers.
    int RankOf(const Mapping& mapping) const {
        if (!(mapping.guid.WithoutVersion() == guid_.WithoutVersion())) {
            return 0;
        }
        const int checksumRank = !mapping.checksum ? 2 : *mapping.checksum == checksum_ ? 3 : 1;
        return checksumRank + (mapping.guid == guid_ ? 3 : 0);
    }

    const Guid guid_;
    const std::uint16_t checksum_;
    int rank_ = 0;
    std::optional<Mapping> best_;
};

void SearchBuiltIn(Search& search) {
    std::string_view text = BuiltInMappings();
    while (!text.empty()) {
        const std::string_view line = TakeLine(text);
        if (search.Concerns(line)) {
            if (Line parsed = ParseLine(line); parsed.mapping) {
                search.OfferWeakly(std::move(*parsed.mapping));
            }
        }
    }
}

// Tells of the first malformed lines of a text, and how many more there are.
class Teller {
public:
    Teller(const Text& text, bool tells) : text_(text), tells_(tells) {
        if (tells_ && !text_.problem.empty()) {
            __dlog_print(LOG_ID_MAIN, DLOG_ERROR, kTag, "%s: %s; no controller mappings are taken from it",
                         text_.origin.c_str(), text_.problem.c_str());
        }
    }

    void Tell(int lineNumber, const std::string& problem) {
        ++count_;
        if (tells_ && count_ <= kMostTold) {
            __dlog_print(LOG_ID_MAIN, DLOG_ERROR, kTag, "%s:%d: %s", text_.origin.c_str(), lineNumber, problem.c_str());
        }
    }

    void Finish() const {
        if (tells_ && count_ > kMostTold) {
            __dlog_print(LOG_ID_MAIN, DLOG_ERROR, kTag, "%s: %d more lines are malformed", text_.origin.c_str(),
                         count_ - kMostTold);
        }
    }

private:
    const Text& text_;
    const bool tells_;
    int count_ = 0;
};

void SearchText(const Text& text, bool tells, Search& search) {
    Teller teller(text, tells);
    std::string_view rest = text.content;
    for (int number = 1; !rest.empty(); ++number) {
        Line line = ParseLine(TakeLine(rest));
        if (!line.problem.empty()) {
            teller.Tell(number, line.problem);
        }
        if (line.mapping) {
            search.Offer(std::move(*line.mapping));
        }
    }
    teller.Finish();
}

}  // namespace

Sources Sources::OfThisUser() {
    const std::string configHome = ConfigHome();
    return {StringOf(std::getenv("SDL_GAMECONTROLLERCONFIG_FILE")), StringOf(std::getenv("SDL_GAMECONTROLLERCONFIG")),
            configHome.empty() ? "" : configHome + "/quorvex/gamecontrollerdb.txt"};
}

Database::Database(Sources sources) : sources_(std::move(sources)) {}

std::optional<Mapping> Database::Find(const DeviceId& id) {
    const Hold guard(lock_);
    Search search(id);
    SearchBuiltIn(search);
    for (const Text& text : Read(sources_)) {
        std::string& told = told_[text.origin];
        SearchText(text, told != text.signature, search);
        told = text.signature;
    }
    return search.TakeBest();
}

std::optional<Translator> Database::TranslatorFor(const libevdev* device) {
    const auto mapping = Find(IdOf(device));
    return mapping ? std::optional<Translator>(std::in_place, *mapping, CapabilitiesOf(device)) : std::nullopt;
}

}  // namespace mapping
