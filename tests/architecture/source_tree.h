#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// One line of a file; `file` is relative to the top of the tree.
struct Line {
    std::string file;
    int number;
    std::string text;

    std::string Text() const { return file + ":" + std::to_string(number) + ": " + text; }
};

/// One #include: what stands between the quotes or brackets.
struct Include {
    Line line;
    std::string header;
    bool quoted;
};

std::vector<std::string> SplitAtBars(const std::string& list);  ///< "a|b|" -> a, b

/// All files below the folder (of the tree's top), in order, with one of these endings; none given: all.
std::vector<std::string> FilesBelow(const std::string& folder, const std::vector<std::string>& endings = {});
/// The sources and headers of the service's four folders.
std::vector<std::string> ServiceFiles(const std::vector<std::string>& endings = {".h", ".cpp"});
/// The platform interface's headers: "platform/aul.h", ...
std::vector<std::string> InterfaceHeaders();

std::filesystem::path InTree(const std::string& file);
std::string ReadFile(const std::filesystem::path& path);
std::vector<Line> LinesOf(const std::string& file);
std::vector<Include> IncludesOf(const std::string& file);
