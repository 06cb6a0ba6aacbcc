// Desktop entries of any origin, and the title that is looked for among them.

#include <glib.h>

#include "entries.h"
#include "fuzz.h"
#include "title.h"

namespace {

const fuzz::Folder& Home() {
    static const fuzz::Folder folder;
    fuzz::Set("XDG_DATA_HOME", folder.Path());
    fuzz::Set("XDG_DATA_DIRS", folder.Path());
    return folder;
}

// Folding is the same however often it is done, and sees no order.
void Compare(const std::string& one, const std::string& other) {
    const Title title(one.c_str());
    const Title back(other.c_str());
    fuzz::Require(title.Matches(other.c_str()) == back.Matches(one.c_str()), "two titles match both ways or neither");
    const bool isTitle = title.Matches(one.c_str());
    const std::string spaced = "  " + std::string(one.c_str()) + " ";
    fuzz::Require(title.Matches(spaced.c_str()) == isTitle, "blanks around a title do not matter");
}

void LookUp(const Title& title) {
    const std::string id = InstalledEntry(title);
    const bool isOurs = id.empty() || id == "one.desktop" || id == "two.desktop";
    fuzz::Require(isOurs, "what is found is one of the entries");
    fuzz::Require(id.empty() || IsInstalled(id), "what is found is installed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string one = input.Text();
    const std::string other = input.Text();
    Compare(one, other);
    Home().Write("applications/one.desktop", input.LongText());
    Home().Write("applications/two.desktop", input.LongText());
    LookUp(Title(one.c_str()));
    return 0;
}
