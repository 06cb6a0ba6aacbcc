// Notices of changes, whoever makes them and whatever happens to the directories.

#include <fcntl.h>
#include <glib.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "settings_home.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Two keys are watched: the one of the test, and one whose notice shows that all earlier changes have been seen.
class AWatchedKey : public SettingsHome {
protected:
    void SetUp() override {
        SettingsHome::SetUp();
        ASSERT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &hub_), 0);
        ASSERT_EQ(vconf_notify_key_changed(kActive, Changes::Callback, &marks_), 0);
    }
    void TearDown() override {
        EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
        EXPECT_EQ(vconf_ignore_key_changed(kActive, Changes::Callback), 0);
        SettingsHome::TearDown();
    }
    bool Arrives(int number) {
        return RunLoopUntil([&] { return hub_.Count() > 0 && hub_.Last().number == number; });
    }
    // Whether every change until now has been seen.
    bool AllSeen() {
        const size_t before = marks_.Count();
        EXPECT_EQ(vconf_set_int(kActive, ++mark_), 0);
        return RunLoopUntil([&] { return marks_.Count() > before; });
    }

    Changes hub_;
    Changes marks_;
    int mark_ = 0;
};

TEST_F(AWatchedKey, TellsOfItsFirstValue) {
    EXPECT_EQ(vconf_set_int(kHub, 5), 0);
    EXPECT_TRUE(Arrives(5));
    EXPECT_THAT(hub_.Numbers(), ElementsAre(5));
}

TEST_F(AWatchedKey, TellsOfEachValueOnce) {
    for (const int value : {1, 2, 1000}) {
        vconf_set_int(kHub, value);
        EXPECT_TRUE(Arrives(value));
    }
    EXPECT_TRUE(AllSeen());
    EXPECT_THAT(hub_.Numbers(), ElementsAre(1, 2, 1000));
}

TEST_F(AWatchedKey, SaysNothingUntilTheLoopRuns) {
    vconf_set_int(kHub, 5);
    EXPECT_EQ(hub_.Count(), 0U);
    EXPECT_TRUE(Arrives(5));
}

TEST_F(AWatchedKey, SaysNothingOfAnEqualValue) {
    vconf_set_int(kHub, 5);
    EXPECT_TRUE(Arrives(5));
    vconf_set_int(kHub, 5);
    EXPECT_TRUE(AllSeen());
    Put(kHub, "  5");
    EXPECT_TRUE(AllSeen());
    EXPECT_THAT(hub_.Numbers(), ElementsAre(5));
}

TEST_F(AWatchedKey, SaysNothingOfAnotherKey) {
    vconf_set_str(kTitles, "a,b");
    Put("memory/window_system/playnest_status", "7");
    vconf_set_int("memory/accessory/playnest_status2", 8);
    EXPECT_TRUE(AllSeen());
    EXPECT_EQ(hub_.Count(), 0U);
}

TEST_F(AWatchedKey, TellsOfAShellsEcho) {
    vconf_set_int(kHub, 5);
    EXPECT_TRUE(Arrives(5));
    EXPECT_EQ(Shell("echo 6 > " + FileOf(kHub)), 0);
    EXPECT_TRUE(Arrives(6));
    EXPECT_TRUE(AllSeen());
    EXPECT_THAT(hub_.Numbers(), ElementsAre(5, 6));
}

TEST_F(AWatchedKey, IsReadWhenItsWriterHasClosedIt) {
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    std::ofstream file(FileOf(kHub));
    file << "12" << std::flush;
    EXPECT_TRUE(AllSeen());
    file << "34\n";
    file.close();
    EXPECT_TRUE(Arrives(1234));
    EXPECT_THAT(hub_.Numbers(), ElementsAre(5, 1234));
}

TEST_F(AWatchedKey, TellsOfAnEditorsRename) {
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    EXPECT_EQ(Shell("cd $(dirname " + FileOf(kHub) + ") && echo 6 > .new && mv .new playnest_status"), 0);
    EXPECT_TRUE(Arrives(6));
    EXPECT_THAT(hub_.Numbers(), ElementsAre(5, 6));
}

TEST_F(AWatchedKey, TellsOfAnEditorThatKeepsABackup) {
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    const std::string file = FileOf(kHub);
    EXPECT_EQ(Shell("mv " + file + ' ' + file + "~ && echo 6 > " + file + " && rm " + file + '~'), 0);
    EXPECT_TRUE(Arrives(6));
}

TEST_F(AWatchedKey, ReadsAsZeroOnceItIsRemoved) {
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    EXPECT_EQ(Shell("rm " + FileOf(kHub)), 0);
    EXPECT_TRUE(Arrives(0));
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    EXPECT_EQ(Shell("mv " + FileOf(kHub) + " " + Root()), 0);
    EXPECT_TRUE(Arrives(0));
    EXPECT_THAT(hub_.Numbers(), ElementsAre(5, 0, 5, 0));
}

TEST_F(AWatchedKey, KeepsItsValueWhileTheTextIsWrongAndSaysSoOnce) {
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    Put(kHub, "abc\n");
    EXPECT_TRUE(AllSeen());
    EXPECT_TRUE(AllSeen());
    int value = 0;
    EXPECT_NE(vconf_get_int(kHub, &value), 0);
    EXPECT_THAT(TakeMessages(), ElementsAre(AllOf(HasSubstr(FileOf(kHub)), HasSubstr("\"abc\""))));
    Put(kHub, "5");
    EXPECT_TRUE(AllSeen());
    EXPECT_THAT(hub_.Numbers(), ElementsAre(5));
}

TEST_F(AWatchedKey, KeepsItsValueWhileItsFileIsEmptied) {
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    Put(kHub, "");
    EXPECT_TRUE(AllSeen());
    EXPECT_THAT(hub_.Numbers(), ElementsAre(5));
    EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(AWatchedKey, IsNotHeldUpByAFifoInItsPlace) {
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    EXPECT_EQ(Shell("mkfifo " + Root() + "/fifo && mv -f " + Root() + "/fifo " + FileOf(kHub)), 0);
    EXPECT_TRUE(AllSeen());
    EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("not a regular file")));
}

TEST_F(AWatchedKey, GivesABoolAsANumberAndANumberAsABool) {
    Put(kHub, "true");
    EXPECT_TRUE(Arrives(1));
    EXPECT_EQ(hub_.Last().flag, 1);
    Put(kHub, "1000");
    EXPECT_TRUE(Arrives(1000));
    EXPECT_EQ(hub_.Last().flag, 1);
    Put(kHub, "false");
    EXPECT_TRUE(Arrives(0));
    EXPECT_EQ(hub_.Last().flag, 0);
}

TEST_F(AWatchedKey, GivesATextAsZeroWithOneMessage) {
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    Put(kHub, "'abc'");
    EXPECT_TRUE(Arrives(0));
    EXPECT_THAT(TakeMessages(), ElementsAre(AllOf(HasSubstr(kHub), HasSubstr("'abc'"))));
}

TEST_F(AWatchedKey, IsFoundInADirectoryThatAppearsLate) {
    EXPECT_FALSE(Shell("test -e " + Runtime() + "/quorvex") == 0);
    EXPECT_EQ(Shell("mkdir -p $(dirname " + FileOf(kHub) + ") && echo 5 > " + FileOf(kHub)), 0);
    EXPECT_TRUE(Arrives(5));
    EXPECT_EQ(Shell("echo 6 > " + FileOf(kHub)), 0);
    EXPECT_TRUE(Arrives(6));
}

TEST_F(AWatchedKey, IsFoundInADirectoryThatIsBuiltStepByStep) {
    std::string directory = Runtime();
    for (const char* part : {"/quorvex", "/memory", "/accessory"}) {
        directory += part;
        EXPECT_EQ(mkdir(directory.c_str(), 0755), 0);
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
    }
    EXPECT_EQ(Shell("echo 5 > " + FileOf(kHub)), 0);
    EXPECT_TRUE(Arrives(5));
}

TEST_F(AWatchedKey, SurvivesTheRemovalOfItsDirectory) {
    for (int value = 1; value <= 20; ++value) {
        EXPECT_EQ(vconf_set_int(kHub, value), 0);
        EXPECT_TRUE(Arrives(value));
        EXPECT_EQ(Shell("rm -r " + Runtime() + "/quorvex"), 0);
        EXPECT_TRUE(Arrives(0));
    }
    EXPECT_EQ(hub_.Count(), 40U);
}

// The directory's own notice of its removal comes only when the last one has left it.
TEST_F(AWatchedKey, SurvivesTheRemovalOfADirectoryInWhichSomeoneStands) {
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    const int inside = open((Runtime() + "/quorvex/memory/accessory").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(inside, 0);
    EXPECT_EQ(Shell("rm -r " + Runtime() + "/quorvex"), 0);
    EXPECT_TRUE(Arrives(0));
    Put(kHub, "6");
    EXPECT_TRUE(Arrives(6));
    close(inside);
}

TEST_F(AWatchedKey, SurvivesTheReplacementOfTheWholeRuntimeDirectory) {
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    EXPECT_EQ(Shell("mv " + Runtime() + ' ' + Root() + "/old"), 0);
    EXPECT_TRUE(Arrives(0));
    Put(kHub, "6");
    EXPECT_TRUE(Arrives(6));
    EXPECT_EQ(Shell("echo 7 > " + Root() + "/old/quorvex/" + kHub), 0);
    EXPECT_TRUE(AllSeen());
    EXPECT_THAT(hub_.Numbers(), ElementsAre(5, 0, 6));
}

TEST_F(AWatchedKey, IsReadAgainWhenAPreparedDirectoryTakesThePlaceOfTheOld) {
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    EXPECT_EQ(Shell("cp -r " + Runtime() + ' ' + Root() + "/new && echo 6 > " + Root() + "/new/quorvex/" + kHub), 0);
    EXPECT_EQ(Shell("mv " + Runtime() + ' ' + Root() + "/old && mv " + Root() + "/new " + Runtime()), 0);
    EXPECT_TRUE(Arrives(6));
    Put(kHub, "7");
    EXPECT_TRUE(Arrives(7));
}

TEST_F(AWatchedKey, IsReadAgainAfterMoreChangesThanTheKernelQueues) {
    Put(kHub, "5");
    EXPECT_TRUE(Arrives(5));
    EXPECT_EQ(Shell("cd $(dirname " + FileOf(kHub) + ") && for i in $(seq 9000); do : > a; : > b; done"), 0);
    Put(kHub, "6");
    EXPECT_TRUE(Arrives(6));
}

int polls;

gint CountedPoll(GPollFD* fds, guint count, gint timeout) {
    ++polls;
    return g_poll(fds, count, timeout);
}

int PollsInHalfASecond() {
    bool over = false;
    const auto end = [](gpointer flag) { return *static_cast<bool*>(flag) = true, G_SOURCE_REMOVE; };
    g_timeout_add(500, end, &over);
    polls = 0;
    EXPECT_TRUE(RunLoopUntil([&] { return over; }));
    return polls;
}

// The directories above the test's own are everyone's, so that a disturbed half second proves nothing: one silent one
// does.
TEST_F(AWatchedKey, CostsNoWakeUpWhileNothingHappens) {
    EXPECT_TRUE(AllSeen());
    const GPollFunc before = g_main_context_get_poll_func(nullptr);
    g_main_context_set_poll_func(nullptr, CountedPoll);
    int least = PollsInHalfASecond();
    for (int round = 0; round < 100 && least > 2; ++round) {
        least = std::min(least, PollsInHalfASecond());
    }
    g_main_context_set_poll_func(nullptr, before);
    EXPECT_LE(least, 2);
}

class AWatch : public SettingsHome {};

TEST_F(AWatch, OfAKeyThatIsSetStartsWithItsValue) {
    Changes changes;
    vconf_set_int(kHub, 5);
    ASSERT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &changes), 0);
    vconf_set_int(kHub, 5);
    vconf_set_int(kHub, 6);
    EXPECT_TRUE(RunLoopUntil([&] { return changes.Count() > 0; }));
    EXPECT_THAT(changes.Numbers(), ElementsAre(6));
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
}

TEST_F(AWatch, OfADurableKeyFindsItsWholeStateDirectoryLate) {
    Changes changes;
    ASSERT_EQ(vconf_notify_key_changed("db/menu/connection/easy-wakeup", Changes::Callback, &changes), 0);
    EXPECT_EQ(vconf_set_int("db/menu/connection/easy-wakeup", 1), 0);
    EXPECT_TRUE(RunLoopUntil([&] { return changes.Count() > 0; }));
    EXPECT_THAT(changes.Numbers(), ElementsAre(1));
    EXPECT_EQ(vconf_ignore_key_changed("db/menu/connection/easy-wakeup", Changes::Callback), 0);
}

TEST_F(AWatch, BelowALinkedRuntimeDirectoryWorks) {
    ASSERT_EQ(symlink(Runtime().c_str(), (Root() + "/link").c_str()), 0);
    setenv("XDG_RUNTIME_DIR", (Root() + "/link/").c_str(), 1);
    Changes changes;
    ASSERT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &changes), 0);
    Put(kHub, "5");
    EXPECT_TRUE(RunLoopUntil([&] { return changes.Count() > 0; }));
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
}

TEST_F(AWatch, SetOnAnyThreadIsServedByTheMainLoop) {
    Changes changes;
    std::thread([&] {
        EXPECT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &changes), 0);
        EXPECT_EQ(vconf_set_int(kHub, 5), 0);
    }).join();
    EXPECT_TRUE(RunLoopUntil([&] { return changes.Count() > 0; }));
    EXPECT_EQ(changes.Last().thread, std::this_thread::get_id());
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
}

TEST_F(AWatch, OnAThreadWithAContextOfItsOwnIsServedByTheMainLoopToo) {
    Changes changes;
    std::thread([&] {
        GMainContext* own = g_main_context_new();
        g_main_context_push_thread_default(own);
        EXPECT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &changes), 0);
        g_main_context_pop_thread_default(own);
        g_main_context_unref(own);
    }).join();
    Put(kHub, "5");
    EXPECT_TRUE(RunLoopUntil([&] { return changes.Count() > 0; }));
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
}

TEST_F(AWatch, IsRefusedTwiceForTheSameCallback) {
    Changes first;
    Changes second;
    ASSERT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &first), 0);
    EXPECT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &second), -1);
    EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr(kHub)));
    Put(kHub, "5");
    EXPECT_TRUE(RunLoopUntil([&] { return first.Count() > 0; }));
    EXPECT_EQ(second.Count(), 0U);
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
}

TEST_F(AWatch, IsRefusedWithAMessageWhereNoDescriptorIsLeft) {
    Changes changes;
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const int result = vconf_notify_key_changed(kHub, Changes::Callback, &changes);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(result, -1);
    EXPECT_THAT(TakeMessages(), ElementsAre(AllOf(HasSubstr(FileOf(kHub)), HasSubstr("Too many open files"))));
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), -1);
    EXPECT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &changes), 0);
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
}

TEST(ANodeThatIsNull, ReadsAsZero) {
    EXPECT_EQ(vconf_keynode_get_int(nullptr), 0);
    EXPECT_EQ(vconf_keynode_get_bool(nullptr), 0);
}

}  // namespace
