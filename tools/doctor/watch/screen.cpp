#include "watch/screen.h"

#include <curses.h>

#include <algorithm>

namespace doctor {
namespace {

constexpr int kPassMs = 50;
constexpr int kControlC = 3;

enum Colour : short { kLit = 1, kNothing, kBar, kGame };

constexpr int kPictureTop = 3;
constexpr int kNewest = kPictureTop + kPictureRows + 1;
constexpr int kOlder = kNewest + 2;

void Write(int row, int column, const std::string& text, attr_t attributes, short colour = 0) {
    attr_set(attributes, colour, nullptr);
    mvaddstr(row, column, text.c_str());
    attr_set(A_NORMAL, 0, nullptr);
}

void MakeColours() {
    if (has_colors() == FALSE) {
        return;
    }
    start_color();
    use_default_colors();
    init_pair(kLit, COLOR_BLACK, COLOR_GREEN);
    init_pair(kNothing, COLOR_YELLOW, -1);
    init_pair(kBar, COLOR_WHITE, COLOR_BLUE);
    init_pair(kGame, COLOR_WHITE, COLOR_RED);
}

/// What is lit stands out on a terminal without colours, too.
attr_t Lit() {
    return has_colors() == FALSE ? A_REVERSE : A_NORMAL;
}

int Left(int width) {
    return std::max((COLS - width) / 2, 0);
}

void ShowBar(const View& view) {
    const std::string mode =
        view.is_menu_mode ? " MENU MODE: the pad drives the menus " : " A GAME HAS THE FOCUS: no keys are sent ";
    const std::string end = "q ends ";
    std::string bar = mode + std::string(static_cast<std::size_t>(std::max(COLS, 0)), ' ');
    bar.resize(static_cast<std::size_t>(std::max(COLS - static_cast<int>(end.size()), 0)));
    Write(0, 0, bar + end, A_BOLD, view.is_menu_mode ? kBar : kGame);
    Write(1, Left(static_cast<int>(view.pad.size())), view.pad, A_NORMAL);
}

void ShowPicture(const View& view) {
    const int left = Left(kPictureColumns);
    int row = kPictureTop;
    for (const std::string& line : Outline()) {
        Write(row++, left, line, A_DIM);
    }
    for (const Part& part : view.parts) {
        Write(kPictureTop + part.row, left + part.column, part.text, part.is_lit ? Lit() : A_NORMAL,
              part.is_lit ? kLit : 0);
    }
}

/// In the middle, and in colour: it is read from the sofa.
void ShowNewest(const Line& line, const std::string& text) {
    Write(kNewest, Left(static_cast<int>(text.size())), text, line.is_key ? Lit() : A_BOLD,
          line.is_key ? kLit : kNothing);
}

void ShowLines(const View& view) {
    int row = kNewest;
    for (const Line& line : view.lines) {
        const std::string text = line.event + "  ->  " + line.outcome;
        if (row == kNewest) {
            ShowNewest(line, text);
            row = kOlder;
        } else if (row < LINES) {
            Write(row++, 2, text, A_NORMAL, line.is_key ? 0 : kNothing);
        }
    }
}

}  // namespace

Screen::Screen() : screen_(newterm(nullptr, stdout, stdin)) {
    if (screen_ == nullptr) {
        return;
    }
    raw();
    noecho();
    curs_set(0);
    keypad(stdscr, TRUE);
    timeout(kPassMs);
    MakeColours();
}

Screen::~Screen() {
    if (screen_ != nullptr) {
        endwin();
        delscreen(static_cast<SCREEN*>(screen_));
    }
}

void Screen::Show(const View& view) {
    erase();
    ShowBar(view);
    ShowPicture(view);
    ShowLines(view);
    refresh();
}

bool Screen::IsLeft() {
    const int key = getch();
    return key == 'q' || key == 'Q' || key == kControlC;
}

}  // namespace doctor
