#include <linux/input.h>

#include <cstring>

#include "gamepad/button_table.h"
#include "gamepad/connected_pads.h"
#include "gamepad/evdev.h"
#include "gamepad/games/ignored_readers.h"
#include "gamepad/games/pad_nodes.h"
#include "gamepad/games/processes.h"
#include "gamepad/games/reader_search.h"
#include "gamepad/layout.h"
#include "gamepad/mapping/guid.h"
#include "look/looks.h"
#include "platform/gamepad.h"
#include "tzplatform/base_directory.h"

namespace doctor {
namespace {

/// The platform's list of pads, for as long as this lives.
class OpenLibrary {
public:
    OpenLibrary() : is_open_(gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0) == 1) {}
    ~OpenLibrary() {
        if (is_open_) {
            gamepad_close();
        }
    }
    OpenLibrary(const OpenLibrary&) = delete;
    OpenLibrary& operator=(const OpenLibrary&) = delete;

private:
    const bool is_open_;
};

enum class Fit { kStandard, kMapped, kGuessed };

Fit FitOf(const gamepad::ChosenLayout& chosen) {
    if (chosen.standard) {
        return Fit::kStandard;
    }
    return dynamic_cast<const gamepad::MappedLayout*>(chosen.layout.get()) != nullptr ? Fit::kMapped : Fit::kGuessed;
}

const char* WordFor(Fit fit) {
    return fit == Fit::kStandard ? "standard" : fit == Fit::kMapped ? "mapped" : "guessed";
}

bool CanSend(const gamepad::Layout& layout, const Input& input) {
    if (input.type == EV_KEY) {
        return layout.HasButton(input.code);
    }
    if (input.code == ABS_HAT0X || input.code == ABS_HAT0Y) {
        return layout.HasHat(static_cast<unsigned>(input.code));
    }
    for (const gamepad::AxisSpec& axis : layout.Axes()) {
        if (axis.code == input.code) {
            return true;
        }
    }
    return false;
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

/// What one pad can do for the service, in words and facts.
class PadDescription {
public:
    PadDescription(const gamepad::Layout& layout, const ServiceKeys& keys) : layout_(layout) {
        for (const auto& [input, code] : keys.at_once) {
            Add({input}, NameOf(input), code);
        }
        for (const HeldKey& held : keys.held) {
            std::string name;
            for (const Input& input : held.inputs) {
                name += (name.empty() ? "" : " and ") + NameOf(input);
            }
            Add(held.inputs, name + " held", held.code);
        }
        for (const gamepad::AxisSpec& axis : layout.Axes()) {
            AddAxis(axis);
        }
    }

    bool SendsNothing() const { return sent_.empty(); }

    void WriteTo(Finding& finding) const {
        finding.details.push_back("sends " + (sent_.empty() ? "nothing" : Joined(sent_)));
        if (!missing_.empty()) {
            finding.details.push_back("does not have " + Joined(missing_));
        }
        if (!axes_.empty()) {
            finding.details.push_back("axes " + Joined(axes_));
        }
        finding.facts["keys"] = sent_facts_;
        finding.facts["missing"] = missing_facts_;
        finding.facts["axes"] = axis_facts_;
    }

private:
    void Add(const std::vector<Input>& inputs, const std::string& name, int code) {
        for (const Input& input : inputs) {
            if (!CanSend(layout_, input)) {
                missing_.push_back(name);
                missing_facts_.append(name);
                return;
            }
        }
        sent_.push_back(name + " " + KeyText(code));
        Json::Value fact;
        fact["input"] = name;
        fact["code"] = code;
        fact["key"] = KeyText(code);
        sent_facts_.append(fact);
    }

    void AddAxis(const gamepad::AxisSpec& axis) {
        axes_.push_back(AxisName(axis.code) + " " + std::to_string(axis.minimum) + " to " +
                        std::to_string(axis.maximum));
        Json::Value fact;
        fact["axis"] = axis.code;
        fact["name"] = AxisName(axis.code);
        fact["minimum"] = axis.minimum;
        fact["maximum"] = axis.maximum;
        axis_facts_.append(fact);
    }

    const gamepad::Layout& layout_;
    std::vector<std::string> sent_;
    std::vector<std::string> missing_;
    std::vector<std::string> axes_;
    Json::Value sent_facts_{Json::arrayValue};
    Json::Value missing_facts_{Json::arrayValue};
    Json::Value axis_facts_{Json::arrayValue};
};

std::string HexOf(const mapping::Guid& guid) {
    static const char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : guid.bytes) {
        text += {kDigits[byte / 16], kDigits[byte % 16]};
    }
    return text;
}

std::string MappingRemedy(const libevdev* device) {
    return "add a line for it, which begins with " + HexOf(mapping::Guid::Of(mapping::IdOf(device))) + ", to " +
           BaseDirectory("XDG_CONFIG_HOME", ".config") + "/quorvex/gamecontrollerdb.txt";
}

Finding FindingOf(const gamepad::Pad& pad, const libevdev* device, const ServiceKeys& keys) {
    mapping::Database database;
    const gamepad::ChosenLayout chosen = gamepad::ChooseLayout(device, database);
    const PadDescription description(*chosen.layout, keys);
    const Fit fit = FitOf(chosen);
    Finding finding = Works("\"" + pad.name + "\" at " + pad.node + ": " + chosen.description);
    if (description.SendsNothing()) {
        finding.mark = Mark::kBroken;
    } else if (fit == Fit::kGuessed) {
        finding.mark = Mark::kLacks;
    }
    finding.remedy = finding.mark == Mark::kWorks ? "" : MappingRemedy(device);
    finding.facts["name"] = pad.name;
    finding.facts["node"] = pad.node;
    finding.facts["uid"] = pad.uid;
    finding.facts["layout"] = WordFor(fit);
    description.WriteTo(finding);
    return finding;
}

Finding LookAtPad(const gamepad::Pad& pad, const ServiceKeys& keys) {
    const gamepad::Evdev opened = gamepad::OpenEvdev(pad.node);
    if (opened.device == nullptr) {
        return Broken("\"" + pad.name + "\" at " + pad.node + " cannot be read: " + std::strerror(opened.error),
                      "plug it in again");
    }
    return FindingOf(pad, opened.device.get(), keys);
}

/// What the platform has said while it looked for pads. Its sentences end in advice of their own.
Finding Complaint(const std::string& text) {
    const std::string denied = std::strerror(EACCES);
    const std::size_t at = text.find(denied);
    if (at == std::string::npos) {
        return Broken(text, "plug it in again");
    }
    return Broken(text.substr(0, at + denied.size()),
                  "sudo usermod -aG input $USER, then log in again (or log in at the machine itself)");
}

/// A complaint about a file of mappings concerns no pad's node.
bool IsAboutMappings(const std::string& text) {
    return text.find("/dev/input") == std::string::npos && text.find("pads cannot be watched") == std::string::npos;
}

Finding MappingComplaint(const std::string& text) {
    return Lacks(text, "mend or delete that line");
}

Section LookAtAllPads(const std::vector<gamepad::PadPointer>& pads, const ServiceKeys& keys, Notes& notes) {
    Section section{"pads", "Pads", {}};
    // Read afresh, so that what is wrong in the user's own mappings is told also where no pad needs them.
    mapping::Database().Find({});
    for (const gamepad::PadPointer& pad : pads) {
        section.findings.push_back(LookAtPad(*pad, keys));
    }
    std::vector<Finding> complaints;
    bool is_any_refused = false;
    for (const std::string& error : notes.NewErrors()) {
        is_any_refused = is_any_refused || !IsAboutMappings(error);
        complaints.push_back(IsAboutMappings(error) ? MappingComplaint(error) : Complaint(error));
    }
    if (pads.empty() && !is_any_refused) {
        section.findings.push_back(Broken("no pad is connected", "plug one in, or pair it with: bluetoothctl"));
    }
    section.findings.insert(section.findings.end(), complaints.begin(), complaints.end());
    return section;
}

Finding ReaderFinding(const games::Reader& reader, const games::IgnoredReaders& ignored) {
    const games::ProcessName name = games::NameOf(reader.pid);
    const std::string word = name.executable.empty() ? name.command : name.executable;
    const std::string who = word + " (process " + std::to_string(reader.pid) + ") reads " + reader.node;
    const bool is_ignored = ignored.Contains(name);
    Finding finding = is_ignored ? Works(who + ": no game")
                                 : Lacks(who + ": counts as a game, and while it has the focus no key is sent",
                                         "if it is no game: echo " + word + " >> " + games::IgnoredReadersPath());
    finding.facts["pid"] = reader.pid;
    finding.facts["name"] = word;
    finding.facts["node"] = reader.node;
    finding.facts["game"] = !is_ignored;
    return finding;
}

std::vector<games::Node> Identified(const std::vector<std::string>& paths) {
    std::vector<games::Node> nodes;
    for (const std::string& path : paths) {
        games::Node node(path);
        if (node.Identify()) {
            nodes.push_back(node);
        }
    }
    return nodes;
}

}  // namespace

Section LookAtReaders(const std::vector<std::string>& nodes, Notes& notes) {
    Section section{"readers", "Who else reads a pad", {}};
    games::IgnoredReaders ignored(nullptr, games::IgnoredReadersPath(), [] {});
    ignored.Refresh();
    std::vector<games::Reader> readers;
    if (!games::FindReaders(Identified(nodes), readers)) {
        section.findings.push_back(
            Lacks(std::string("/proc cannot be read: ") + std::strerror(errno), "mount -t proc proc /proc"));
    }
    for (const games::Reader& reader : readers) {
        section.findings.push_back(ReaderFinding(reader, ignored));
    }
    for (const std::string& error : notes.NewErrors()) {
        section.findings.push_back(Lacks(error, "mend or delete that line"));
    }
    if (section.findings.empty()) {
        section.findings.push_back(Works("nobody"));
    }
    return section;
}

Report LookAtPads(const ServiceKeys& keys, Notes& notes) {
    const OpenLibrary library;
    const std::vector<gamepad::PadPointer> pads = gamepad::ConnectedPads().All();
    return {LookAtAllPads(pads, keys, notes), LookAtReaders(games::NodesOf(pads), notes)};
}

}  // namespace doctor
