/// The view on a terminal.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "watch/picture.h"

namespace doctor {

struct Line {
    std::string event;
    std::string outcome;
    bool is_key;  ///< something was sent
};

struct View {
    bool is_menu_mode = true;
    std::string pad;  ///< its name, or what to do
    std::vector<Part> parts;
    std::deque<Line> lines;  ///< the newest first
};

/// Threads  one at a time. Restores the terminal at the end.
class Screen {
public:
    Screen();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    bool Works() const { return screen_ != nullptr; }  ///< false: a terminal of this kind is not known
    void Show(const View& view);
    /// Waits for a key for as long as the service's pads are looked at once. True: the user wants to leave.
    bool IsLeft();

private:
    void* screen_;
};

}  // namespace doctor
