#include "source_tree.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

namespace {

namespace fs = std::filesystem;

bool EndsWithOneOf(const std::string& name, const std::vector<std::string>& endings) {
    return endings.empty() || std::any_of(endings.begin(), endings.end(), [&](const std::string& ending) {
               return name.size() >= ending.size() && name.substr(name.size() - ending.size()) == ending;
           });
}

}  // namespace

std::vector<std::string> SplitAtBars(const std::string& list) {
    std::vector<std::string> parts;
    std::istringstream stream(list);
    for (std::string part; std::getline(stream, part, '|');) {
        if (!part.empty()) {
            parts.push_back(part);
        }
    }
    return parts;
}

fs::path InTree(const std::string& file) {
    return fs::path(SOURCE_DIRECTORY) / file;
}

std::vector<std::string> FilesBelow(const std::string& folder, const std::vector<std::string>& endings) {
    std::vector<std::string> files;
    const auto options = fs::directory_options::follow_directory_symlink;
    for (const auto& entry : fs::recursive_directory_iterator(InTree(folder), options)) {
        if (entry.is_regular_file() && EndsWithOneOf(entry.path().string(), endings)) {
            files.push_back(fs::path(folder) / entry.path().lexically_relative(InTree(folder)));
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::string> ServiceFiles(const std::vector<std::string>& endings) {
    std::vector<std::string> files;
    for (const char* const folder : {"Main", "Common", "EventHandler", "ContextManager"}) {
        const auto below = FilesBelow(folder, endings);
        files.insert(files.end(), below.begin(), below.end());
    }
    return files;
}

std::vector<std::string> InterfaceHeaders() {
    std::vector<std::string> headers;
    for (const std::string& file : FilesBelow("Platform/include/platform", {".h"})) {
        headers.push_back(fs::path(file).lexically_relative("Platform/include"));
    }
    return headers;
}

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<Line> LinesOf(const std::string& file) {
    std::vector<Line> lines;
    std::istringstream text(ReadFile(InTree(file)));
    for (std::string line; std::getline(text, line);) {
        lines.push_back({file, static_cast<int>(lines.size()) + 1, line});
    }
    return lines;
}

std::vector<Include> IncludesOf(const std::string& file) {
    static const std::regex directive(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"].*)");
    std::vector<Include> includes;
    for (const Line& line : LinesOf(file)) {
        std::smatch match;
        if (std::regex_match(line.text, match, directive)) {
            includes.push_back({line, match[2], match[1] == "\""});
        }
    }
    return includes;
}
