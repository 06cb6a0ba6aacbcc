#pragma once

#include <ostream>
#include <string>

/// One thing that the service does to its surroundings, and when: milliseconds since its start.
struct Deed {
    long at;
    std::string what;
};
inline bool operator==(const Deed& one, const Deed& other) {
    return one.at == other.at && one.what == other.what;
}
inline std::ostream& operator<<(std::ostream& out, const Deed& deed) {
    return out << deed.at << " ms: " << deed.what;
}

enum class KeyMove { Up, Down, Tap };

inline std::string KeyText(int code, KeyMove move) {
    static const char* const kMoves[] = {" up", " down", " tapped"};
    return "key " + std::to_string(code) + kMoves[static_cast<int>(move)];
}
