// Processes that end while the store is asked.

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "answers.h"
#include "child_process.h"
#include "platform/was.h"
#include "store_home.h"

namespace {

void Print(const char* app_id, was_app_status_e status, const char* etag, void* /*user_data*/) {
    std::printf("%s|%d|%s\n", app_id, status, etag);
    std::fflush(stdout);
}

void PrintAndExit(const char* app_id, was_app_status_e status, const char* etag, void* user_data) {
    Print(app_id, status, etag, user_data);
    std::exit(7);
}

void AskTimes(int times, was_appid_fn callback) {
    for (int i = 0; i < times; ++i) {
        EXPECT_EQ(was_request_appid_by_runtitle("title", "before", callback, nullptr), 0);
    }
}

class TheEndOfAProcess : public StoreHome {
protected:
    Environment With(const std::string& script) const { return {{"QUORVEX_STORE_QUERY", Script("query", script)}}; }
};

TEST_F(TheEndOfAProcess, AnswersWhatIsLeftBeforeItIsOver) {
    const auto start = std::chrono::steady_clock::now();
    const ChildOutput output = RunInChild(With("sleep 1000"), [] { AskTimes(3, Print); });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.out, "|2|before\n|2|before\n|2|before\n");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(TheEndOfAProcess, EndsTheProgramThatWasAsked) {
    const std::string pid = InHome("pid");
    std::filesystem::create_directories(InHome(""));
    RunInChild(With("echo $$ >" + pid + ".new; mv " + pid + ".new " + pid + "; exec sleep 1000"), [&pid] {
        AskTimes(1, Print);
        while (access(pid.c_str(), F_OK) != 0) {
            std::this_thread::yield();
        }
    });
    const std::string text = "kill -0 $(cat " + pid + ") 2>/dev/null";
    ASSERT_EQ(access(pid.c_str(), F_OK), 0);
    EXPECT_NE(std::system(text.c_str()), 0);
}

TEST_F(TheEndOfAProcess, MayComeFromAnAnswer) {
    const ChildOutput output = RunInChild(With(R"(printf '0\000x\000tag\000')"), [] {
        AskTimes(2, PrintAndExit);
        pause();
    });
    ASSERT_TRUE(WIFEXITED(output.status));
    EXPECT_EQ(WEXITSTATUS(output.status), 7);
    EXPECT_EQ(output.out.substr(0, 8), "x|0|tag\n");
}

TEST_F(TheEndOfAProcess, HasNothingToDoWithoutAQuery) {
    EXPECT_EQ(RunInChild(With("true"), [] {}).status, 0);
}

TEST_F(TheEndOfAProcess, ComesAfterTheRealAnswer) {
    Install("star.desktop", "title");
    const ChildOutput output = RunInChild({}, [] {
        Answers answers;
        EXPECT_EQ(was_request_appid_by_runtitle("title", "", Answers::Take, &answers), 0);
        EXPECT_EQ(answers.WaitFor(1).at(0).appId, "star.desktop");
    });
    EXPECT_EQ(output.status, 0) << output.out << output.err;
}

}  // namespace
