/// Titles as people compare them.
#pragma once

#include <string>

/// Without regard to upper and lower case, to the ways in which Unicode writes a letter, to blanks around it and to
/// more than one blank inside.
class Title {
public:
    /// Null, empty, blank and what is not UTF-8 are titles that nothing has.
    explicit Title(const char* text);

    bool Matches(const char* other) const { return !folded_.empty() && Title(other).folded_ == folded_; }

private:
    std::string folded_;
};
