#pragma once

#include <map>
#include <string>
#include <vector>

#include "model.h"

// What there is around the service: applications, and buttons that are bound to some.

constexpr int kFirstGame = 101;
constexpr int kGames = 3;
constexpr int kMenuPid = 200;
constexpr int kKeyboardPid = 300;
constexpr int kAlmostKeyboardPid = 301;

/// The names of the processes; two games share one.
inline const std::map<int, std::string> kAppIds = {{101, "game.one"},
                                                   {102, "game.two"},
                                                   {103, "game.two"},
                                                   {kMenuPid, "menu"},
                                                   {kKeyboardPid, "com.velmora.tv.keypane-app"},
                                                   {kAlmostKeyboardPid, "com.velmora.tv.keypane-app2"}};

/// Which games run already when the service starts, as the machine lists them.
struct GameList {
    std::string text;
    std::vector<int> pids;
};
inline const std::vector<GameList> kGameTexts = {{"", {}},          {"101", {101}},         {"101,102", {101, 102}},
                                                 {",,103,", {103}}, {"what,102", {0, 102}}, {",", {}}};

struct Config {
    std::string name;
    std::map<int, Binding> bindings;
};
inline const std::vector<Config> kConfigs = {
    {"no button bound", {}},
    {"buttons 5 and 6 bound", {{5, {"Starfall Racer", 731}}, {6, {"Moonlight", 732}}, {7, {"", 733}}}},
    {"Home, A and Select bound", {{14, {"Homeward", 741}}, {0, {"Alphabet", 742}}, {10, {"Selection", 743}}}},
};
