#include "gamepad/games/pad_nodes.h"

#include <dirent.h>

#include <filesystem>
#include <memory>

namespace games {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDevices = "/dev";

bool StartsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

/// "input7", which the folder of the nodes, "input", is not.
bool IsInputDevice(const std::string& name) {
    static const std::string kStart = "input";
    return StartsWith(name, kStart) && name.size() > kStart.size();
}

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};

/// The names in the folder that start so; none in one that is not there. The library's own iterator ends the process
/// when it finds no memory for a name.
std::vector<std::string> NamesIn(const fs::path& path, const std::string& start) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
    while (const dirent* entry = folder != nullptr ? readdir(folder.get()) : nullptr) {
        const std::string name = entry->d_name;
        if (StartsWith(name, start)) {
            names.push_back(name);
        }
    }
    return names;
}

}  // namespace

/// .../0003:054C:09CC.0001/input/input7/event3: js0 lies beside the event node; hidraw0 in the folder "hidraw" of the
/// HID device, the input devices of which are in its folder "input".
std::vector<std::string> NodesOf(const std::string& node, const std::string& syspath, const std::string& devices) {
    std::vector<std::string> nodes{node};
    const fs::path input = fs::path(syspath).parent_path();
    if (!IsInputDevice(input.filename().string())) {
        return nodes;  // not known to sysfs
    }
    for (const std::string& name : NamesIn(input, "js")) {
        nodes.push_back(fs::path(node).parent_path() / name);
    }
    for (const std::string& name : NamesIn(input.parent_path().parent_path() / "hidraw", "hidraw")) {
        nodes.push_back(fs::path(devices) / name);
    }
    return nodes;
}

std::vector<std::string> NodesOf(const std::vector<gamepad::PadPointer>& pads) {
    std::vector<std::string> nodes;
    for (const gamepad::PadPointer& pad : pads) {
        const std::vector<std::string> more = NodesOf(pad->node, pad->syspath, kDevices);
        nodes.insert(nodes.end(), more.begin(), more.end());
    }
    return nodes;
}

}  // namespace games
