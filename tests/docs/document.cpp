#include "document.h"

#include <algorithm>
#include <filesystem>
#include <regex>

#include "source_tree.h"

namespace {

constexpr char kPrograms[] =
    "quorvex|quorvex-[a-z-]+|cmake|ctest|ninja|cat|echo|mkdir|rm|cp|mv|sudo|apt|apt-get|apt-cache|dpkg|git|bash|sh|"
    "systemctl|systemd-[a-z]+|journalctl|modprobe|udevadm|usermod|gdbus|busctl|pre-commit|clang-format|lintian|man|"
    "mandoc|python3|export|tests/[A-Za-z_/]+|build/[A-Za-z0-9_/.-]+|scripts/[a-z]+|bench/[A-Za-z_/]+";

/// Assignments before a program are part of its command.
const std::regex& Command() {
    static const std::regex command("([A-Z_]+=\\S+ +)*(" + std::string(kPrograms) + ")( .*)?");
    return command;
}

bool IsScript(const std::string& word) {
    namespace fs = std::filesystem;
    const fs::path path = InTree(word);
    return word.rfind("scripts/", 0) == 0 && fs::is_regular_file(path);
}

/// Alone, a program's name is its name; a script's or a test program's, of a table of commands, is a command.
bool IsCommand(const std::string& text) {
    std::smatch match;
    if (!std::regex_match(text, match, Command())) {
        return false;
    }
    static const std::regex test_program("tests/[a-z_]+_test|tests/linux_[a-z]+|tests/[a-z_]+/run");
    return match[3].matched || match[1].matched || IsScript(text) || std::regex_match(text, test_program);
}

std::string WithoutComment(const std::string& line) {
    return std::regex_replace(line, std::regex(R"(\s+#.*$|\s+$|^#.*$)"), "");
}

struct Block {
    int line;
    std::string language;
    std::vector<std::string> lines;
};

struct Parts {
    std::vector<Block> blocks;
    std::string prose;  ///< each line in its place, those of blocks empty
};

Parts PartsOf(const std::string& file) {
    Parts parts;
    bool is_block = false;
    for (const Line& line : LinesOf(file)) {
        const bool is_border = line.text.rfind("```", 0) == 0;
        parts.prose += (is_border || is_block ? "" : line.text) + "\n";
        if (is_border) {
            is_block = !is_block;
            if (is_block) {
                parts.blocks.push_back({line.number, line.text.substr(3), {}});
            }
        } else if (is_block) {
            parts.blocks.back().lines.push_back(line.text);
        }
    }
    return parts;
}

Told BlockTold(const std::string& file, const Block& block) {
    Told told{file, block.line, {}};
    for (const std::string& line : block.lines) {
        const std::string command = WithoutComment(line);
        if (!command.empty()) {
            told.lines.push_back(command);
        }
    }
    return told;
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Told& told) {
    return stream << told.file << ":" << told.line << ": " << told.lines.front();
}

std::vector<Told> ToldIn(const std::string& file) {
    const Parts parts = PartsOf(file);
    std::vector<Told> all;
    for (const Block& block : parts.blocks) {
        if (block.language == "sh") {
            all.push_back(BlockTold(file, block));
        }
    }
    // A piece may go on in the next line.
    static const std::regex piece("`([^`\n]+(\n[^`\n]+)?)`");
    for (std::sregex_iterator at(parts.prose.begin(), parts.prose.end(), piece), end; at != end; ++at) {
        const std::string command = std::regex_replace((*at)[1].str(), std::regex("\n"), " ");
        if (IsCommand(command)) {
            const auto before = std::count(parts.prose.begin(), parts.prose.begin() + at->position(), '\n');
            all.push_back({file, static_cast<int>(before) + 1, {command}});
        }
    }
    return all;
}

std::vector<Told> UnmarkedIn(const std::string& file) {
    std::vector<Told> all;
    for (const Block& block : PartsOf(file).blocks) {
        for (const std::string& line : block.lines) {
            if (block.language != "sh" && IsCommand(WithoutComment(line))) {
                all.push_back({file, block.line, {line}});
            }
        }
    }
    return all;
}
