// The program for people and scripts, run as they run it.

#include <glib.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <fstream>
#include <sstream>

#include "settings/known_keys.h"
#include "settings_home.h"

namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

class TheProgram : public SettingsHome {
protected:
    std::string Text(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(Root() + '/' + name).rdbuf();
        return text.str();
    }
    // The words stand as in a shell's command line.
    Outcome Run(const std::string& words) const {
        const int status = Shell(std::string(SETTINGS_PROGRAM) + ' ' + words + " > " + Root() + "/out 2> " + Root() +
                                 "/err < /dev/null");
        return {status, Text("out"), Text("err")};
    }
};

TEST_F(TheProgram, PrintsAValueAsItIs) {
    vconf_set_int(kHub, 1000);
    vconf_set_str(kCountry, "it's \"CN\"");
    Put(kSaver, "true");
    EXPECT_EQ(Run(std::string("get ") + kHub).out, "1000\n");
    EXPECT_EQ(Run(std::string("get ") + kCountry).out, "it's \"CN\"\n");
    EXPECT_EQ(Run(std::string("get ") + kSaver).out, "true\n");
}

TEST_F(TheProgram, StoresAValueThatTheServiceReads) {
    EXPECT_EQ(Run(std::string("set ") + kHub + " -5").status, 0);
    EXPECT_EQ(Contents(kHub), "int32 -5\n");
    EXPECT_EQ(Run(std::string("set ") + kSaver + " false").status, 0);
    EXPECT_EQ(Contents(kSaver), "false\n");
    EXPECT_EQ(Run(std::string("set ") + kCountry + " 'C N'").status, 0);
    EXPECT_EQ(Contents(kCountry), "'C N'\n");
    EXPECT_EQ(Run(std::string("set ") + kCountry + " ''").status, 0);
    EXPECT_EQ(Run(std::string("get ") + kCountry).out, "\n");
}

TEST_F(TheProgram, TellsAnUnsetKeyByItsStatus) {
    const Outcome outcome = Run(std::string("get ") + kHub);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_EQ(outcome.err, std::string("quorvex-settings: ") + kHub + " is not set\n");
}

TEST_F(TheProgram, RefusesAValueOfAnotherType) {
    for (const std::string& words : {std::string(kHub) + " on", std::string(kSaver) + " 1",
                                     std::string(kHub) + " 2147483648", std::string(kCountry) + " $(printf '\\377')"}) {
        const Outcome outcome = Run("set " + words);
        EXPECT_EQ(outcome.status, 2) << words;
        EXPECT_THAT(outcome.err, HasSubstr(" takes ")) << words;
    }
    EXPECT_NE(Shell("test -e " + Runtime() + "/quorvex"), 0);
}

TEST_F(TheProgram, NamesTheNearestKeyForAnUnknownOne) {
    for (const char* words : {"get db/comss/contrycode", "set db/comss/contrycode CN", "watch db/comss/contrycode"}) {
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, AllOf(HasSubstr("\"db/comss/contrycode\""), EndsWith("is db/comss/countrycode\n")));
    }
}

TEST_F(TheProgram, SaysWhatAWrongFileHolds) {
    Put(kHub, "abc\n");
    Outcome outcome = Run(std::string("get ") + kHub);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr(FileOf(kHub)), HasSubstr("\"abc\"")));
    Put(kHub, "true\n");
    outcome = Run(std::string("get ") + kHub);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr(FileOf(kHub)), HasSubstr("\"true\", which is no int")));
}

TEST_F(TheProgram, ListsEveryKeyOnALine) {
    vconf_set_int(kHub, 5);
    vconf_set_str(kTitles, "two\nlines");
    const Outcome outcome = Run("list");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
    EXPECT_EQ(outcome.out,
              "memory/accessory/playnest_status 5\n"
              "memory/accessory/gamepad_active (unset)\n"
              "memory/accessory/downloadable_runtitle 'two\\nlines'\n"
              "memory/window_system/screensaver_on_off (unset)\n"
              "db/menu/connection/easy-wakeup (unset)\n"
              "db/menu/homeview/homedatacontrol/defaultdisclaimeragree (unset)\n"
              "db/comss/countrycode (unset)\n");
}

TEST_F(TheProgram, ListsTheOthersWhereOneIsUnreadable) {
    Put(kHub, "abc");
    vconf_set_str(kCountry, "CN");
    const Outcome outcome = Run("list");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.out, AllOf(HasSubstr(std::string(kHub) + " (unreadable)\n"), EndsWith("countrycode 'CN'\n")));
    EXPECT_THAT(outcome.err, HasSubstr("\"abc\""));
}

TEST_F(TheProgram, ExplainsItself) {
    const Outcome outcome = Run("--help");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, AllOf(StartsWith("Usage: quorvex-settings get KEY"), HasSubstr("Exit status: 0 done"),
                                   HasSubstr("memory/window_system/screensaver_on_off (bool)")));
}

TEST_F(TheProgram, RefusesToBeUsedWrongly) {
    for (const std::string& words :
         {std::string(), std::string("git"), std::string("get"), std::string("list all"), std::string("set ") + kHub,
          std::string("get ") + kHub + " x", std::string("--help me")}) {
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.status, 2) << words;
        EXPECT_THAT(outcome.out, IsEmpty()) << words;
        EXPECT_THAT(outcome.err, HasSubstr("--help")) << words;
    }
}

TEST_F(TheProgram, FailsWithoutARuntimeDirectory) {
    unsetenv("XDG_RUNTIME_DIR");
    for (const std::string& words :
         {std::string("get ") + kHub, std::string("set ") + kHub + " 1", std::string("watch ") + kHub}) {
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.status, 3) << words;
        EXPECT_THAT(outcome.err, HasSubstr("XDG_RUNTIME_DIR is not set")) << words;
    }
}

TEST_F(TheProgram, FailsWhereItCannotWrite) {
    ASSERT_EQ(Shell("mkdir -p " + FileOf(kHub)), 0);
    const Outcome outcome = Run(std::string("set ") + kHub + " 1");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr(FileOf(kHub)));
}

TEST_F(TheProgram, FailsWhereItsOutputGoesNowhere) {
    vconf_set_int(kHub, 5);
    EXPECT_EQ(Shell(std::string(SETTINGS_PROGRAM) + " get " + kHub + " > /dev/full 2> /dev/null"), 3);
}

// `quorvex-settings watch` as a process of its own; lines are taken as they come.
class Watching {
public:
    explicit Watching(std::vector<std::string> keys) {
        keys.insert(keys.begin(), {SETTINGS_PROGRAM, "watch"});
        std::vector<char*> words;
        words.reserve(keys.size() + 1);
        for (std::string& key : keys) {
            words.push_back(key.data());
        }
        words.push_back(nullptr);
        EXPECT_TRUE(g_spawn_async_with_pipes(nullptr, words.data(), nullptr, G_SPAWN_DO_NOT_REAP_CHILD, nullptr,
                                             nullptr, &pid_, nullptr, &out_, &err_, nullptr));
        lines_ = fdopen(out_, "r");
    }
    ~Watching() {
        if (pid_ != 0) {
            End(SIGKILL);
        }
        fclose(lines_);
        close(err_);
    }
    Watching(const Watching&) = delete;
    Watching& operator=(const Watching&) = delete;

    // It handles signals only after it has begun to watch, and GLib does that with a second thread.
    bool IsReady() const {
        const std::string threads = "ls /proc/" + std::to_string(pid_) + "/task | wc -l";
        return Shell("for i in $(seq 500); do test $(" + threads + ") -ge 2 && exit 0; sleep 0.02; done; exit 1") == 0;
    }
    std::string NextLine() {
        char line[256] = "";
        return fgets(line, sizeof line, lines_) != nullptr ? line : "";
    }
    std::string Errors() const {
        char text[1024] = "";
        return read(err_, text, sizeof text - 1) > 0 ? text : "";
    }
    int End(int signal) {
        int status = 0;
        EXPECT_EQ(kill(pid_, signal), 0);
        EXPECT_EQ(waitpid(pid_, &status, 0), pid_);
        pid_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    GPid pid_ = 0;
    int out_ = -1;
    int err_ = -1;
    FILE* lines_ = nullptr;
};

TEST_F(TheProgram, PrintsALineForEachChangeUntilItIsInterrupted) {
    Watching watching({});
    ASSERT_TRUE(watching.IsReady());
    Put(kHub, "5");
    EXPECT_EQ(watching.NextLine(), std::string(kHub) + " 5\n");
    vconf_set_str(kCountry, "CN");
    EXPECT_EQ(watching.NextLine(), std::string(kCountry) + " 'CN'\n");
    Put(kSaver, "true");
    EXPECT_EQ(watching.NextLine(), std::string(kSaver) + " true\n");
    EXPECT_EQ(Shell("rm " + FileOf(kHub)), 0);
    EXPECT_EQ(watching.NextLine(), std::string(kHub) + " (unset)\n");
    EXPECT_EQ(watching.End(SIGINT), 0);
}

TEST_F(TheProgram, WatchesTheNamedKeysAlone) {
    Watching watching({kHub, kSaver, kHub});
    ASSERT_TRUE(watching.IsReady());
    vconf_set_int(kActive, 7);
    Put(kHub, "5");
    EXPECT_EQ(watching.NextLine(), std::string(kHub) + " 5\n");
    EXPECT_EQ(watching.End(SIGTERM), 0);
}

TEST_F(TheProgram, SaysWhileItWatchesThatATextIsWrong) {
    Watching watching({kHub});
    ASSERT_TRUE(watching.IsReady());
    Put(kHub, "abc");
    EXPECT_THAT(watching.Errors(), AllOf(HasSubstr(FileOf(kHub)), HasSubstr("\"abc\"")));
    EXPECT_EQ(watching.End(SIGINT), 0);
}

TEST_F(TheProgram, SaysWhileItWatchesThatAValueIsOfAnotherType) {
    Watching watching({kHub});
    ASSERT_TRUE(watching.IsReady());
    Put(kHub, "true");
    EXPECT_THAT(watching.Errors(), AllOf(HasSubstr(FileOf(kHub)), HasSubstr("\"true\", which is no int")));
    Put(kHub, "5");
    EXPECT_EQ(watching.NextLine(), std::string(kHub) + " 5\n");
    EXPECT_EQ(watching.End(SIGINT), 0);
}

struct Example {
    const char* word;  // for the program
    const char* line;  // what it prints while it watches
    const char* text;  // for a shell's echo: another value
    const char* echoed;
};

Example ExampleFor(KeyType type) {
    switch (type) {
        case KeyType::kInt:
            return {"1000", "1000", "1", "1"};
        case KeyType::kBool:
            return {"true", "true", "false", "false"};
        case KeyType::kString:
            break;
    }
    return {"CN", "'CN'", "\\'DE\\'", "DE"};
}

TEST_F(TheProgram, ReadsWritesAndWatchesEveryKeyAsCatAndEchoDo) {
    Watching watching({});
    ASSERT_TRUE(watching.IsReady());
    for (const KnownKey& key : kKnownKeys) {
        const std::string name = key.name;
        const Example example = ExampleFor(key.type);
        EXPECT_EQ(Run("set " + name + ' ' + example.word).status, 0);
        EXPECT_EQ(watching.NextLine(), name + ' ' + example.line + '\n');
        EXPECT_EQ(Run("get " + name).out, std::string(example.word) + '\n');
        ASSERT_EQ(Shell("cat " + FileOf(name) + " && echo " + example.text + " > " + FileOf(name)), 0);
        EXPECT_THAT(watching.NextLine(), AllOf(StartsWith(name), HasSubstr(example.echoed)));
        EXPECT_EQ(Run("get " + name).out, std::string(example.echoed) + '\n');
    }
    EXPECT_EQ(watching.End(SIGINT), 0);
}

}  // namespace
