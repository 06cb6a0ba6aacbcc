#pragma once

#include <ostream>
#include <string>
#include <vector>

/// Something that a document tells to type: a block of lines, which are one script, or a piece of a sentence.
struct Told {
    std::string file;
    int line;                        ///< of its beginning
    std::vector<std::string> lines;  ///< without comments at their ends
};

/// For a failed test: where, and the first line.
std::ostream& operator<<(std::ostream& stream, const Told& told);

/// Blocks marked as sh, and pieces in backticks that are commands rather than names: the first word is a program, and
/// something follows it, or it is one of the tree's scripts.
std::vector<Told> ToldIn(const std::string& file);

/// Lines of blocks that are not marked as sh and begin with a program all the same.
std::vector<Told> UnmarkedIn(const std::string& file);
