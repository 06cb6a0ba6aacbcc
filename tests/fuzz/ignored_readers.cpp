// The user's list of programs that read pads without being games.

#include <glib.h>

#include "fuzz.h"
#include "gamepad/games/ignored_readers.h"

namespace {

const fuzz::Folder& Home() {
    static const fuzz::Folder folder;
    return folder;
}

/// The list as the service has it, which sees each new content of its file.
class Kept {
public:
    static games::IgnoredReaders& With(const std::string& content) {
        static Kept kept;
        kept.isChanged_ = false;
        Home().Write("ignored-readers", content);
        while (g_main_context_iteration(nullptr, /*may_block=*/FALSE) != FALSE) {
        }
        fuzz::Require(kept.isChanged_, "a change of the file is seen");
        kept.readers_.Refresh();
        return kept.readers_;
    }

private:
    bool isChanged_ = false;
    games::IgnoredReaders readers_{nullptr, Home().Path() + "/ignored-readers", [this] { isChanged_ = true; }};
};

void ExpectToBeNames(const std::set<std::string>& names) {
    for (const std::string& name : names) {
        fuzz::Require(!name.empty() && name.find_first_of("/\n#") == std::string::npos, "a name is a file's name");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const games::ProcessName other{input.Text(), input.Text()};
    const std::string content = input.Rest();
    std::vector<std::string> complaints;
    const std::set<std::string> names = games::ReadNames(content, complaints);
    ExpectToBeNames(names);
    const games::IgnoredReaders& readers = Kept::With(content);
    for (const std::string& name : names) {
        fuzz::Require(readers.Contains({name, ""}), "a program that is named is ignored");
    }
    readers.Contains(other);
    fuzz::Require(!readers.Contains({"", ""}), "a process without a name is nobody");
    return 0;
}
