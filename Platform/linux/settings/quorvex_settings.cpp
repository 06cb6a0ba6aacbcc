// Settings for people and scripts: the same files as the service's, with the keys' names and types checked.

#include <glib-unix.h>
#include <glib.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "settings/complaints.h"
#include "settings/key_file.h"
#include "settings/known_keys.h"
#include "settings/watcher.h"

namespace {

enum ExitStatus { kDone = 0, kNotSet = 1, kMisused = 2, kFailed = 3 };

using Words = std::vector<std::string>;

constexpr char kHelp[] = R"(Usage: quorvex-settings get KEY          print the value
       quorvex-settings set KEY VALUE    store a value
       quorvex-settings watch [KEY...]   print a line for each change, until interrupted
       quorvex-settings list             print every key with its value
       quorvex-settings --help

Exit status: 0 done, 1 the key is not set (get), 2 used wrongly (unknown command or key, value of another
type), 3 a file could not be read, written or watched.

Each key is a file: memory/... in $XDG_RUNTIME_DIR/quorvex, the others in $XDG_STATE_HOME/quorvex
(by default ~/.local/state/quorvex). Keys:

)";

ExitStatus Complain(const std::string& text, ExitStatus status) {
    std::fprintf(stderr, "quorvex-settings: %s\n", text.c_str());
    return status;
}

ExitStatus PrintLine(const std::string& line) {
    const bool printed = std::printf("%s\n", line.c_str()) >= 0 && std::fflush(stdout) == 0;
    return printed ? kDone : Complain("cannot write to standard output", kFailed);
}

// A line of its own for every value, whatever it contains.
std::string OnOneLine(const Value& value) {
    const int* number = std::get_if<int>(&value);
    return number != nullptr ? std::to_string(*number) : FormatValue(value);
}

std::string AsItIs(const Value& value) {
    const std::string* text = std::get_if<std::string>(&value);
    return text != nullptr ? *text : OnOneLine(value);
}

const KnownKey* FindOrSuggest(const std::string& name) {
    const KnownKey* key = FindKey(name);
    if (key == nullptr) {
        Complain("there is no key \"" + name + "\"; the nearest one is " + NearestKey(name).name, kMisused);
    }
    return key;
}

std::optional<Problem> WrongType(const KnownKey& key, const std::string& path, const std::optional<Value>& value) {
    if (!value || IsOfType(*value, key.type)) {
        return std::nullopt;
    }
    return Problem{path, path + ": holds " + Quoted(FormatValue(*value)) + ", which is no " + TypeName(key.type)};
}

Reading ReadKnown(const KnownKey& key) {
    Reading reading = ReadKey(key.name);
    if (const auto problem = WrongType(key, reading.path, reading.value)) {
        reading.problem = problem;
    }
    return reading;
}

ExitStatus Get(const Words& words) {
    const KnownKey* key = FindOrSuggest(words[0]);
    if (key == nullptr) {
        return kMisused;
    }
    const Reading reading = ReadKnown(*key);
    if (reading.problem) {
        return Complain(reading.problem->text, kFailed);
    }
    return reading.value ? PrintLine(AsItIs(*reading.value)) : Complain(words[0] + " is not set", kNotSet);
}

ExitStatus Set(const Words& words) {
    const KnownKey* key = FindOrSuggest(words[0]);
    if (key == nullptr) {
        return kMisused;
    }
    const std::optional<Value> value = ValueFromWord(key->type, words[1]);
    if (!value) {
        return Complain(words[0] + " takes " + AllowedWords(key->type) + ", not \"" + words[1] + '"', kMisused);
    }
    const std::optional<Problem> problem = WriteKey(words[0], *value);
    return problem ? Complain(problem->text, kFailed) : kDone;
}

ExitStatus PrintKey(const KnownKey& key) {
    const Reading reading = ReadKnown(key);
    const std::string name = key.name;
    if (reading.problem) {
        PrintLine(name + " (unreadable)");
        return Complain(reading.problem->text, kFailed);
    }
    return PrintLine(name + ' ' + (reading.value ? OnOneLine(*reading.value) : "(unset)"));
}

ExitStatus List(const Words& /*words*/) {
    ExitStatus status = kDone;
    for (const KnownKey& key : kKnownKeys) {
        status = std::max(status, PrintKey(key));
    }
    return status;
}

struct Watching {
    const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop{g_main_loop_new(nullptr, FALSE),
                                                                        &g_main_loop_unref};
    ExitStatus status = kDone;
};

// Only a line that cannot be written ends the watching.
void PrintChange(keynode_t* node, void* data) {
    Watching& watching = *static_cast<Watching*>(data);
    const std::string path = std::get<std::string>(LocateKey(node->key));
    if (const auto problem = WrongType(*FindKey(node->key), path, node->value)) {
        Complain(problem->text, kFailed);
        return;
    }
    watching.status = PrintLine(node->key + ' ' + (node->value ? OnOneLine(*node->value) : "(unset)"));
    if (watching.status != kDone) {
        g_main_loop_quit(watching.loop.get());
    }
}

gboolean Quit(gpointer data) {
    g_main_loop_quit(static_cast<Watching*>(data)->loop.get());
    return G_SOURCE_CONTINUE;
}

ExitStatus RunWatch(const Words& names) {
    Watching watching;
    Complaints complaints([](const std::string& text) { Complain(text, kFailed); });
    Watcher watcher([&](const Reading& reading) { complaints.Note(reading); });
    for (const std::string& name : names) {
        if (const std::optional<Problem> problem = watcher.Add(name, PrintChange, &watching)) {
            return Complain(problem->text, kFailed);
        }
    }
    g_unix_signal_add(SIGINT, Quit, &watching);
    g_unix_signal_add(SIGTERM, Quit, &watching);
    g_main_loop_run(watching.loop.get());
    return watching.status;
}

ExitStatus Watch(const Words& words) {
    Words names = words;
    if (names.empty()) {
        std::transform(kKnownKeys.begin(), kKnownKeys.end(), std::back_inserter(names),
                       [](auto& key) { return key.name; });
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    const bool known = std::all_of(names.begin(), names.end(), FindOrSuggest);
    return known ? RunWatch(names) : kMisused;
}

ExitStatus Help(const Words& /*words*/) {
    std::string text = kHelp;
    for (const KnownKey& key : kKnownKeys) {
        text += std::string("  ") + key.name + " (" + TypeName(key.type) + ")\n      " + key.meaning + '\n';
    }
    text.pop_back();
    return PrintLine(text);
}

struct Command {
    const char* name;
    size_t least;
    size_t most;
    ExitStatus (*run)(const Words& words);
};

constexpr Command kCommands[] = {
    {"get", 1, 1, Get},   {"set", 2, 2, Set},     {"watch", 0, 100, Watch},
    {"list", 0, 0, List}, {"--help", 0, 0, Help}, {"-h", 0, 0, Help},
};

ExitStatus Run(const Words& words) {
    if (words.empty()) {
        return Complain("what to do? See quorvex-settings --help", kMisused);
    }
    for (const Command& command : kCommands) {
        if (words[0] == command.name) {
            const size_t count = words.size() - 1;
            const bool right = count >= command.least && count <= command.most;
            return right ? command.run({words.begin() + 1, words.end()})
                         : Complain("wrong number of words after " + words[0] + ". See quorvex-settings --help",
                                    kMisused);
        }
    }
    return Complain("unknown command \"" + words[0] + "\". See quorvex-settings --help", kMisused);
}

}  // namespace

int main(int argc, char** argv) try {
    return Run(Words(argv + (argc > 0 ? 1 : 0), argv + argc));
} catch (const std::exception& error) {
    std::fprintf(stderr, "quorvex-settings: %s\n", error.what());
    return kFailed;
}
