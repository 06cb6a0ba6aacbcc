#include "known_commands.h"

#include <regex>

#include "source_tree.h"

namespace {

/// What can be run without a second look: settings and files below the home of the test.
bool IsHarmless(const std::string& line) {
    static const std::regex harmless(
        R"((quorvex-settings (list|get|set)|cat|echo|mkdir -p)( [^|;&`]*)?|[a-z_]+=[^|;&`]*)");
    static const std::regex elsewhere(R"([> "]/)");
    return std::regex_match(line, harmless) && !std::regex_search(line, elsewhere);
}

}  // namespace

KnownCommands::KnownCommands() {
    std::string command;
    for (const Line& line : LinesOf("tests/docs/commands")) {
        if (line.text.empty() || line.text[0] == '#') {
            continue;
        }
        if (line.text[0] != ' ') {
            command = line.text;
            scripts_[command];
            continue;
        }
        const std::string run = line.text.substr(line.text.find_first_not_of(' '));
        scripts_[command] += (run == "=" ? command : run) + "\n";
    }
}

std::optional<std::string> KnownCommands::ScriptFor(const std::string& line) const {
    const auto known = scripts_.find(line);
    if (known != scripts_.end()) {
        return known->second;
    }
    return IsHarmless(line) ? std::optional<std::string>(line + "\n") : std::nullopt;
}
