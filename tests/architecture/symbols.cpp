#include "symbols.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include "command.h"
#include "source_tree.h"

Table ReadTable(const std::string& nmOptions, const std::vector<std::string>& files) {
    Table table;
    for (const std::string& file : files) {
        const Finished nm = Run(Quoted(NM) + " -A -P " + nmOptions + " " + Quoted(file));
        EXPECT_EQ(nm.status, 0) << nm.output;
        std::istringstream lines(nm.output);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line.substr(line.find(": ") + 2));
            std::string name;
            std::string type;
            words >> name >> type;
            name = name.substr(0, name.find('@'));
            if (type == "U" || type == "w" || type == "v") {
                table.undefined.emplace(name, line.substr(0, line.find(": ")));
            } else {
                table.defined.insert(name);
                if (type == "T" || type == "D" || type == "B" || type == "R") {
                    table.strong.insert(name);
                }
            }
        }
    }
    return table;
}

Symbols FunctionsOf(const std::string& header) {
    const std::regex comment(R"(/\*[^*]*\*+([^/*][^*]*\*+)*/|//[^\n]*)");
    const std::regex preprocessor(R"(\n\s*#[^\n]*)");
    const std::regex declaration(R"((?:^|[;{}])\s*(?!typedef\b)[A-Za-z_][\w\s*]*?\b(\w+)\s*\(([^;{}]*)\)\s*(?=;))");
    std::string text = std::regex_replace("\n" + ReadFile(InTree("Platform/include/" + header)), comment, " ");
    text = std::regex_replace(text, preprocessor, "\n");
    text = std::regex_replace(text, std::regex(R"(__attribute__\s*\(\(.*?\)\))"), " ");
    text = std::regex_replace(text, std::regex(R"re(extern\s+"C"\s*\{)re"), ";");
    Symbols functions;
    for (std::sregex_iterator at(text.begin(), text.end(), declaration), end; at != end; ++at) {
        functions.insert((*at)[1]);
    }
    return functions;
}

Symbols InterfaceFunctions() {
    Symbols functions;
    for (const std::string& header : InterfaceHeaders()) {
        functions.merge(FunctionsOf(header));
    }
    return functions;
}
