#pragma once

#include <map>
#include <optional>
#include <string>

/// The file "commands" beside this one: what is run in the place of each command.
class KnownCommands {
public:
    KnownCommands();

    /// The script for a line; nothing when it is not known.
    std::optional<std::string> ScriptFor(const std::string& line) const;
    const std::map<std::string, std::string>& All() const { return scripts_; }

private:
    std::map<std::string, std::string> scripts_;
};
