/// What is found out about one thing, for people and for programs.
#pragma once

#include <json/json.h>

#include <string>
#include <vector>

namespace doctor {

enum class Mark {
    kWorks,
    kLacks,   ///< the service does its work, but less of it
    kBroken,  ///< the service cannot do its work
};

struct Finding {
    Mark mark = Mark::kWorks;
    std::string text;                  ///< one line
    std::string remedy;                ///< the command or setting that mends it; empty where nothing is to mend
    std::vector<std::string> details;  ///< further lines
    Json::Value facts;                 ///< null where the text says all
};

inline Finding Works(const std::string& text) {
    return {Mark::kWorks, text, "", {}, {}};
}
inline Finding Lacks(const std::string& text, const std::string& remedy) {
    return {Mark::kLacks, text, remedy, {}, {}};
}
inline Finding Broken(const std::string& text, const std::string& remedy) {
    return {Mark::kBroken, text, remedy, {}, {}};
}

/// The findings about one concern; the name is for programs and never changes.
struct Section {
    std::string name;
    std::string title;
    std::vector<Finding> findings;
};
using Report = std::vector<Section>;

}  // namespace doctor
