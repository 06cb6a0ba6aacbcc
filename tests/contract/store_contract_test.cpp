#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "platform/was.h"
#include "platform_under_test.h"

namespace {

struct Answer {
    Counter asked;  ///< the call has returned
    Counter times;
    bool isAnsweredLater = false;
    bool hasTexts = false;
    std::string id;
    int status = -1;
    std::thread::id thread;
};

void Take(const char* app_id, was_app_status_e status, const char* etag, void* user) {
    Answer& answer = *static_cast<Answer*>(user);
    answer.isAnsweredLater = answer.asked.WaitFor(1);
    answer.hasTexts = app_id != nullptr && etag != nullptr;
    answer.id = app_id != nullptr ? app_id : "";
    answer.status = status;
    answer.thread = std::this_thread::get_id();
    answer.times.Add();
}

int Ask(const char* title, Answer& answer) {
    const int result = was_request_appid_by_runtitle(title, "", Take, &answer);
    answer.asked.Add();
    return result;
}

class TheStore : public testing::Test {
protected:
    PlatformUnderTest platform_;
};

TEST_F(TheStore, AnswersLaterOnAnotherThreadWithTexts) {
    platform_.Install("Starfall Racer");
    Answer answer;
    ASSERT_EQ(Ask("Starfall Racer", answer), 0);
    ASSERT_TRUE(answer.times.WaitFor(1));
    EXPECT_TRUE(answer.isAnsweredLater);
    EXPECT_TRUE(answer.hasTexts);
    EXPECT_NE(answer.thread, std::this_thread::get_id());
    EXPECT_EQ(answer.status, 0);
    EXPECT_NE(answer.id, "");
}

TEST_F(TheStore, StopsTheLaunchOfWhatItDoesNotKnow) {
    Answer answer;
    ASSERT_EQ(Ask("Nothing of this name", answer), 0);
    ASSERT_TRUE(answer.times.WaitFor(1));
    EXPECT_TRUE(answer.hasTexts);
    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.id, "");
}

TEST_F(TheStore, RefusesWithoutAnAnswerWhatMakesNoSense) {
    Answer answer;
    EXPECT_NE(Ask(nullptr, answer), 0);
    EXPECT_NE(Ask("", answer), 0);
    EXPECT_NE(was_request_appid_by_runtitle("title", "", nullptr, nullptr), 0);
    Answer last;
    ASSERT_EQ(Ask("title", last), 0);
    EXPECT_TRUE(last.times.WaitFor(1));
    EXPECT_EQ(answer.times.Count(), 0);
}

TEST_F(TheStore, AnswersEachOfManyThreadsOnce) {
    Answer answers[4][2];
    std::vector<std::thread> askers;
    askers.reserve(4);
    for (auto& own : answers) {
        askers.emplace_back([&own] {
            for (Answer& answer : own) {
                EXPECT_EQ(Ask("title", answer), 0);
            }
        });
    }
    for (std::thread& asker : askers) {
        asker.join();
    }
    for (auto& own : answers) {
        for (Answer& answer : own) {
            EXPECT_TRUE(answer.times.WaitFor(1));
        }
    }
    Answer last;
    ASSERT_EQ(Ask("title", last), 0);
    EXPECT_TRUE(last.times.WaitFor(1));
    for (auto& own : answers) {
        for (Answer& answer : own) {
            EXPECT_EQ(answer.times.Count(), 1);
        }
    }
}

struct Chain {
    Answer second;
    Counter first;
};

void AskAgain(const char* /*app_id*/, was_app_status_e /*status*/, const char* etag, void* user) {
    Chain& chain = *static_cast<Chain*>(user);
    EXPECT_EQ(was_request_appid_by_runtitle("title", etag, Take, &chain.second), 0);
    chain.second.asked.Add();
    chain.first.Add();
}

TEST_F(TheStore, MayBeAskedFromAnAnswer) {
    Chain chain;
    ASSERT_EQ(was_request_appid_by_runtitle("title", nullptr, AskAgain, &chain), 0);
    EXPECT_TRUE(chain.first.WaitFor(1));
    EXPECT_TRUE(chain.second.times.WaitFor(1));
}

}  // namespace
