#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

using Symbols = std::set<std::string>;

/// The symbols of object files, libraries or programs.
struct Table {
    Symbols defined;
    Symbols strong;                                ///< defined, and not a copy of a template or an inline function
    std::map<std::string, std::string> undefined;  ///< symbol -> the first object that refers to it
};

/// As nm prints them with these options; dynamic symbols without their version.
Table ReadTable(const std::string& nmOptions, const std::vector<std::string>& files);

/// The functions that a header of the interface declares ("platform/aul.h"), and those of all of them.
Symbols FunctionsOf(const std::string& header);
Symbols InterfaceFunctions();
