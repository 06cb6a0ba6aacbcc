// The queue, its thread and what becomes of programs that do not answer.

#include "was/store_queries.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "answers.h"
#include "own_settings.h"
#include "store_home.h"

namespace {

using std::chrono::milliseconds;
using store::StoreQueries;
using Clock = std::chrono::steady_clock;

constexpr milliseconds kLong{kDeadline};
constexpr milliseconds kShort{300};
constexpr char kAnswer[] = R"(printf '0\000x.desktop\000tag\000')";

bool Becomes(const std::function<bool()>& condition) {
    const auto deadline = Clock::now() + kDeadline;
    while (!condition()) {
        if (Clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

pid_t NumberIn(const std::string& file) {
    pid_t number = 0;
    std::ifstream(file) >> number;
    return number;
}

std::string Contents(const std::string& file) {
    std::ostringstream contents;
    contents << std::ifstream(file).rdbuf();
    return contents.str();
}

class Queries : public StoreHome {
protected:
    /// Asks a program of this text and waits for the answer.
    StoreAnswer AskScript(const std::string& text, milliseconds limit = kLong) {
        return AskProgram(Script("query", text), limit);
    }
    static StoreAnswer AskProgram(const std::string& path, milliseconds limit = kLong) {
        Answers answers;
        StoreQueries queries(path, limit);
        EXPECT_TRUE(queries.Ask({"title", "before", Answers::Take, &answers}));
        const std::vector<StoreAnswer> arrived = answers.WaitFor(1);
        queries.Close();
        EXPECT_EQ(answers.Count(), 1U);
        return arrived.empty() ? StoreAnswer{} : arrived[0];
    }
    static void ExpectError(const StoreAnswer& answer) {
        EXPECT_EQ(answer.status, 2);
        EXPECT_EQ(answer.appId, "");
        EXPECT_EQ(answer.etag, "before");
    }
    std::string PidFile() const { return InHome("pid"); }
    void SetUp() override { std::filesystem::create_directories(InHome("")); }
};

TEST_F(Queries, AreAnsweredWithWhatTheProgramPrints) {
    const StoreAnswer answer = AskScript(kAnswer);
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.appId, "x.desktop");
    EXPECT_EQ(answer.etag, "tag");
    EXPECT_EQ(AskScript(R"(printf '1\000\000tag\000')").status, 1);
    EXPECT_EQ(AskScript(R"(printf '2\000\000tag\000')").etag, "tag");
}

TEST_F(Queries, GiveTheTitleToTheProgramAsItIs) {
    const std::string title = "a 'b' \"c\" $d `e`\n-f; *";
    Answers answers;
    StoreQueries queries(Script("query", R"(printf '0\000%s\000%s\000' "$1" "$#")"), kLong);
    ASSERT_TRUE(queries.Ask({title, "", Answers::Take, &answers}));
    ASSERT_EQ(answers.WaitFor(1).size(), 1U);
    EXPECT_EQ(answers.WaitFor(1)[0].appId, title);
    EXPECT_EQ(answers.WaitFor(1)[0].etag, "1");
}

TEST_F(Queries, AreErrorsWhereTheAnswerMakesNoSense) {
    for (const char* const text :
         {"true", "exit 1", "echo nonsense", R"(printf '0\000x')", R"(printf '0\000x\000')",
          R"(printf '3\000x\000y\000')", R"(printf '00\000x\000y\000')", R"(printf -- '-1\000x\000y\000')",
          R"(printf '0\000x\000y\000z')", "exec cat /dev/zero", "yes"}) {
        SCOPED_TRACE(text);
        ExpectError(AskScript(text));
    }
}

TEST_F(Queries, AreErrorsWhereTheProgramCannotBeStarted) {
    ExpectError(AskProgram("/nonexistent/program"));
    ExpectError(AskProgram(testing::TempDir()));
    WriteFile(InHome("notexecutable"), kAnswer);
    ExpectError(AskProgram(InHome("notexecutable")));
    WriteFile(InHome("notaprogram"),
              "\x7f"
              "ELFnot");
    std::filesystem::permissions(InHome("notaprogram"), std::filesystem::perms::owner_all);
    ExpectError(AskProgram(InHome("notaprogram")));
}

TEST_F(Queries, AreErrorsWhereTheProgramIsKilled) {
    for (const char* const signal : {"KILL", "SEGV", "TERM"}) {
        ExpectError(AskScript(std::string("printf '0\\000x'; kill -") + signal + " $$"));
    }
}

TEST_F(Queries, AreErrorsWhereTheProgramHangs) {
    for (const char* const text : {"sleep 1000", "exec sleep 1000", "trap '' TERM; while :; do sleep 1000; done",
                                   R"(printf '0\000x\000y\000'; sleep 1000)", "sleep 1000 & exit"}) {
        SCOPED_TRACE(text);
        const auto start = Clock::now();
        ExpectError(AskScript(text, kShort));
        EXPECT_GE(Clock::now() - start, kShort);
        EXPECT_LT(Clock::now() - start, kDeadline);
    }
}

TEST_F(Queries, EndAHangingProgramWithAllThatItStarted) {
    ExpectError(AskScript("sleep 1000 & echo $! >" + PidFile() + "; wait", milliseconds(5000)));
    const pid_t child = NumberIn(PidFile());
    ASSERT_GT(child, 0);
    // Its parent is gone, so whoever takes over orphans reads its end, sooner or later.
    EXPECT_TRUE(Becomes([child] {
        std::ifstream status("/proc/" + std::to_string(child) + "/stat");
        std::string id;
        std::string name;
        std::string state = "gone";
        status >> id >> name >> state;
        return state == "Z" || state == "gone";
    }));
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(Queries, AreAllAnsweredInTimeBehindAHangingOne) {
    Answers answers;
    StoreQueries queries(Script("query", "sleep 1000"), kShort);
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(queries.Ask({"title", "before", Answers::Take, &answers}));
    }
    const auto start = Clock::now();
    for (const StoreAnswer& answer : answers.WaitFor(5)) {
        ExpectError(answer);
    }
    EXPECT_EQ(answers.Count(), 5U);
    EXPECT_LT(Clock::now() - start, kDeadline);
}

TEST_F(Queries, RunTheProgramWithNothingOfTheServices) {
    const int own = dup(STDERR_FILENO);  // would stay open when a program is executed
    const auto before = signal(SIGPIPE, SIG_IGN);
    AskScript(
        "cd $XDG_DATA_HOME; readlink /proc/$$/fd/0 >input; (ls /proc/$$/fd >open);"
        "exec 3>&1 grep -E '^Sig(Blk|Ign)' /proc/self/status >signals");
    signal(SIGPIPE, before);
    close(own);
    EXPECT_EQ(Contents(InHome("input")), "/dev/null\n");
    EXPECT_EQ(Contents(InHome("open")), "0\n1\n10\n2\n");  // 10 is the shell's script
    EXPECT_THAT(Contents(InHome("signals")),
                testing::MatchesRegex("SigBlk:\t0{16}\n"
                                      "SigIgn:\t[0-9a-f]{8}[08]0{7}\n"));  // but the C library's own
}

TEST_F(Queries, AreAnsweredOnOneThreadWithoutSignals) {
    struct Seen {
        std::array<char, 16> name{};
        bool isSignalFree = false;
        Answers answers;
    } seen;
    StoreQueries queries(Script("query", kAnswer), kLong);
    const auto take = [](const char* id, was_app_status_e status, const char* tag, void* data) {
        Seen& into = *static_cast<Seen*>(data);
        pthread_getname_np(pthread_self(), into.name.data(), into.name.size());
        sigset_t mask;
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        into.isSignalFree = sigismember(&mask, SIGTERM) == 1 && sigismember(&mask, SIGCHLD) == 1;
        Answers::Take(id, status, tag, &into.answers);
    };
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(queries.Ask({"title", "", take, &seen}));
    }
    const std::vector<StoreAnswer> answers = seen.answers.WaitFor(3);
    ASSERT_EQ(answers.size(), 3U);
    EXPECT_STREQ(seen.name.data(), "platform-store");
    EXPECT_TRUE(seen.isSignalFree);
    EXPECT_NE(answers[0].thread, std::this_thread::get_id());
}

TEST_F(Queries, MayBeAskedByManyThreadsAtOnce) {
    Install("star.desktop", "Starfall Racer");
    StoreQueries queries(QUERY_PROGRAM, kLong);
    std::vector<std::thread> askers;
    askers.reserve(4);
    for (int i = 0; i < 4; ++i) {
        askers.emplace_back([&queries, i] {
            for (int j = 0; j < 5; ++j) {
                const bool isKnown = (i + j) % 2 == 0;
                const StoreAnswer answer = Ask(queries, isKnown ? "Starfall Racer" : "Nothing");
                EXPECT_EQ(answer.status, isKnown ? 0 : 1);
                EXPECT_EQ(answer.appId, isKnown ? "star.desktop" : "");
            }
        });
    }
    for (std::thread& asker : askers) {
        asker.join();
    }
}

TEST_F(Queries, MayBeAskedFromAnAnswer) {
    struct Chain {
        StoreQueries* queries;
        int left = 3;
        Answers answers;
    };
    StoreQueries queries(Script("query", kAnswer), kLong);
    Chain chain{&queries, 3, {}};
    static was_appid_fn take;
    take = [](const char* id, was_app_status_e status, const char* tag, void* data) {
        Chain& into = *static_cast<Chain*>(data);
        if (--into.left > 0) {
            EXPECT_TRUE(into.queries->Ask({"title", "", take, data}));
        }
        Answers::Take(id, status, tag, &into.answers);
    };
    ASSERT_TRUE(queries.Ask({"title", "", take, &chain}));
    EXPECT_EQ(chain.answers.WaitFor(3).size(), 3U);
}

TEST_F(Queries, LeaveNothingBehind) {
    ASSERT_TRUE(ThreadEnds("platform-store"));  // of the test before
    const size_t descriptors = OpenDescriptors();
    {
        Answers answers;
        StoreQueries queries(Script("query", kAnswer), kLong);
        EXPECT_FALSE(HasThread("platform-store"));
        for (size_t i = 1; i <= 20; ++i) {
            ASSERT_TRUE(queries.Ask({"title", "", Answers::Take, &answers}));
            ASSERT_EQ(answers.WaitFor(i).size(), i);
        }
        EXPECT_TRUE(ThreadEnds("platform-store")) << "the thread outlives its queue";
        EXPECT_EQ(OpenDescriptors(), descriptors + 1);
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(Queries, AreAnsweredAtOnceByTheEndAndRefusedAfterwards) {
    Answers answers;
    StoreQueries queries(
        Script("query", "echo $$ >" + PidFile() + ".new; mv " + PidFile() + ".new " + PidFile() + "; sleep 1000"),
        kLong);
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(queries.Ask({"title", "before", Answers::Take, &answers}));
    }
    ASSERT_TRUE(Becomes([this] { return NumberIn(PidFile()) > 0; }));
    queries.Close();
    EXPECT_EQ(answers.Count(), 3U);
    for (const StoreAnswer& answer : answers.WaitFor(3)) {
        ExpectError(answer);
    }
    EXPECT_EQ(kill(NumberIn(PidFile()), 0), -1);
    EXPECT_FALSE(queries.Ask({"title", "before", Answers::Take, &answers}));
    queries.Close();
    EXPECT_EQ(answers.Count(), 3U);
}

TEST_F(Queries, MayBeEndedFromAnAnswer) {
    struct Ending {
        StoreQueries* queries;
        Answers answers;
    };
    StoreQueries queries(Script("query", kAnswer), kLong);
    Ending ending{&queries, {}};
    const auto take = [](const char* id, was_app_status_e status, const char* tag, void* data) {
        Ending& into = *static_cast<Ending*>(data);
        Answers::Take(id, status, tag, &into.answers);
        into.queries->Close();
    };
    ASSERT_TRUE(queries.Ask({"title", "", take, &ending}));
    ASSERT_EQ(ending.answers.WaitFor(1).size(), 1U);
    EXPECT_TRUE(Becomes([&] { return !queries.Ask({"title", "", take, &ending}); }));
}

TEST(AQuery, WithoutATitleOrAnAnswerersAddressIsRefused) {
    Answers answers;
    EXPECT_NE(was_request_appid_by_runtitle(nullptr, "", Answers::Take, &answers), 0);
    EXPECT_NE(was_request_appid_by_runtitle("", "", Answers::Take, &answers), 0);
    EXPECT_NE(was_request_appid_by_runtitle("title", "", nullptr, &answers), 0);
    EXPECT_EQ(answers.Count(), 0U);
}

TEST_F(Queries, OfThePlatformGoToTheRealProgram) {
    Install("star.desktop", "Starfall Racer");
    Answers answers;
    ASSERT_EQ(was_request_appid_by_runtitle("starfall racer", "before", Answers::Take, &answers), 0);
    const std::vector<StoreAnswer> arrived = answers.WaitFor(1);
    ASSERT_EQ(arrived.size(), 1U);
    EXPECT_EQ(arrived[0].status, 0);
    EXPECT_EQ(arrived[0].appId, "star.desktop");
    EXPECT_NE(arrived[0].etag, "before");
}

TEST_F(Queries, OfThePlatformMayComeWithoutATag) {
    Answers answers;
    ASSERT_EQ(was_request_appid_by_runtitle("title", nullptr, Answers::Take, &answers), 0);
    EXPECT_EQ(answers.WaitFor(1).size(), 1U);
}

}  // namespace
