#include "manual.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>

#include "program.h"

namespace fs = std::filesystem;

namespace {

const fs::path kSources = TREE "/packaging/man";

}  // namespace

std::string TextOf(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

std::vector<std::string> Pages() {
    std::vector<std::string> pages;
    for (const auto& entry : fs::directory_iterator(kSources)) {
        pages.push_back(entry.path().filename());
    }
    std::sort(pages.begin(), pages.end());
    return pages;
}

std::string TextOfPage(const std::string& page) {
    return TextOf(kSources / page);
}

std::vector<std::string> LiteralBlocks(const std::string& page) {
    std::vector<std::string> blocks;
    std::istringstream lines(TextOfPage(page));
    bool inside = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(".Bd -literal", 0) == 0) {
            blocks.emplace_back();
            inside = true;
        } else if (line == ".Ed") {
            inside = false;
        } else if (inside) {
            blocks.back() += std::regex_replace(line, std::regex(R"(\\e)"), "\\") + '\n';
        }
    }
    return blocks;
}

InstalledPages::InstalledPages() {
    char name[] = "/tmp/quorvex-manual-XXXXXX";
    folder_ = mkdtemp(name);
    for (const std::string& page : Pages()) {
        fs::create_directories(File(page).parent_path());
        fs::copy(kSources / page, File(page));
    }
    OutputOf("/usr/sbin/makewhatis " + folder_.string());
}

InstalledPages::~InstalledPages() {
    fs::remove_all(folder_);
}

fs::path InstalledPages::File(const std::string& page) const {
    return folder_ / ("man" + page.substr(page.rfind('.') + 1)) / page;
}
