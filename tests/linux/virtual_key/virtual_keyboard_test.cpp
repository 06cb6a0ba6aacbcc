#include "virtual_key/virtual_keyboard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "child_process.h"
#include "platform/virtual_key.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

using Sent = std::vector<std::pair<int, int>>;

// Takes what it is given, or fails as it is told.
class RecordingSink final : public KeySink {
public:
    RecordingSink(Sent& sent, const int& result) : sent_(sent), result_(result) {}

    int Send(int platformCode, int action) override {
        sent_.emplace_back(platformCode, action);
        return result_;
    }

private:
    Sent& sent_;
    const int& result_;
};

class AKeyboard : public ::testing::Test {
protected:
    void Close() { keyboard_.reset(); }

    Sent sent_;
    int result_ = 0;
    const std::shared_ptr<KeyMap> map_ = std::make_shared<KeyMap>();
    std::unique_ptr<VirtualKeyboard> keyboard_ =
        std::make_unique<VirtualKeyboard>(std::make_unique<RecordingSink>(sent_, result_), map_);
};

TEST_F(AKeyboard, PassesEachActionOn) {
    EXPECT_EQ(keyboard_->Send(36, KEY_ACTION_PRESS), 0);
    EXPECT_EQ(keyboard_->Send(36, KEY_ACTION_RELEASE), 0);
    EXPECT_EQ(keyboard_->Send(9, KEY_ACTION_AUTO_PRESS_RELEASE), 0);
    EXPECT_THAT(sent_, ElementsAre(Pair(36, 1), Pair(36, 0), Pair(9, 2)));
}

TEST_F(AKeyboard, ReleasesWhatIsDownWhenItIsClosed) {
    keyboard_->Send(114, KEY_ACTION_PRESS);
    keyboard_->Send(36, KEY_ACTION_PRESS);
    keyboard_->Send(775, KEY_ACTION_PRESS);
    sent_.clear();
    Close();
    EXPECT_THAT(sent_, ElementsAre(Pair(36, 0), Pair(114, 0), Pair(775, 0)));
}

TEST_F(AKeyboard, ReleasesNothingThatIsUp) {
    keyboard_->Send(36, KEY_ACTION_PRESS);
    keyboard_->Send(36, KEY_ACTION_RELEASE);
    keyboard_->Send(9, KEY_ACTION_PRESS);
    keyboard_->Send(9, KEY_ACTION_AUTO_PRESS_RELEASE);
    sent_.clear();
    Close();
    EXPECT_THAT(sent_, IsEmpty());
}

TEST_F(AKeyboard, StillReleasesAKeyWhoseReleaseFailed) {
    const ChildOutput output = RunInChild({}, [this] {
        keyboard_->Send(36, KEY_ACTION_PRESS);
        result_ = -EAGAIN;
        EXPECT_EQ(keyboard_->Send(36, KEY_ACTION_RELEASE), -EAGAIN);
        result_ = 0;
        sent_.clear();
        Close();
        EXPECT_THAT(sent_, ElementsAre(Pair(36, 0)));
    });
    EXPECT_EQ(output.status, 0) << output.out;
}

TEST_F(AKeyboard, TellsARefusedCodeOnce) {
    const ChildOutput output = RunInChild({{"QUORVEX_LOG", "error"}}, [this] {
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(keyboard_->Send(731, KEY_ACTION_AUTO_PRESS_RELEASE), -EINVAL);
            EXPECT_EQ(keyboard_->Send(776, KEY_ACTION_PRESS), -EINVAL);
            EXPECT_EQ(keyboard_->Send(37, KEY_ACTION_PRESS), -EINVAL);
        }
        EXPECT_THAT(sent_, IsEmpty());
    });
    EXPECT_EQ(output.status, 0) << output.out;
    EXPECT_THAT(output.ErrLines(), ElementsAre(HasSubstr("key 731 is refused: it is a button"),
                                               HasSubstr("key 776 is refused: the kernel has no such key"),
                                               HasSubstr("key 37 is refused: left Ctrl is left out")));
}

TEST_F(AKeyboard, RefusesAnUnknownAction) {
    const ChildOutput output = RunInChild({{"QUORVEX_LOG", "error"}}, [this] {
        for (const int action : {-1, 3}) {
            EXPECT_EQ(keyboard_->Send(36, action), -EINVAL);
        }
        EXPECT_THAT(sent_, IsEmpty());
    });
    EXPECT_EQ(output.status, 0) << output.out;
    EXPECT_THAT(output.ErrLines(),
                ElementsAre(HasSubstr("key 36: there is no action -1"), HasSubstr("key 36: there is no action 3")));
}

TEST_F(AKeyboard, SendsTheUsersKeyInThePlaceOfAnother) {
    map_->Replace({{71, 180}});
    EXPECT_EQ(keyboard_->Send(71, KEY_ACTION_AUTO_PRESS_RELEASE), 0);
    EXPECT_EQ(keyboard_->Send(180, KEY_ACTION_AUTO_PRESS_RELEASE), 0);
    map_->Replace({});
    EXPECT_EQ(keyboard_->Send(71, KEY_ACTION_AUTO_PRESS_RELEASE), 0);
    EXPECT_THAT(sent_, ElementsAre(Pair(180, 2), Pair(180, 2), Pair(71, 2)));
}

TEST_F(AKeyboard, ReleasesWhatItHasPressedWhateverTheUserChangesMeanwhile) {
    keyboard_->Send(95, KEY_ACTION_PRESS);
    map_->Replace({{95, 180}});
    keyboard_->Send(95, KEY_ACTION_RELEASE);
    keyboard_->Send(95, KEY_ACTION_PRESS);
    map_->Replace({});
    Close();
    EXPECT_THAT(sent_, ElementsAre(Pair(95, 1), Pair(95, 0), Pair(180, 1), Pair(180, 0)));
}

TEST_F(AKeyboard, TakesAKeyForACodeThatIsNone) {
    map_->Replace({{37, 180}});
    EXPECT_EQ(keyboard_->Send(37, KEY_ACTION_AUTO_PRESS_RELEASE), 0);
    EXPECT_THAT(sent_, ElementsAre(Pair(180, 2)));
}

TEST_F(AKeyboard, TellsTheFirstOfARowOfFailures) {
    const ChildOutput output = RunInChild({{"QUORVEX_LOG", "error"}}, [this] {
        result_ = -ENODEV;
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(keyboard_->Send(36, KEY_ACTION_PRESS), -ENODEV);
        }
        result_ = 0;
        EXPECT_EQ(keyboard_->Send(36, KEY_ACTION_PRESS), 0);
        result_ = -EAGAIN;
        EXPECT_EQ(keyboard_->Send(9, KEY_ACTION_PRESS), -EAGAIN);
    });
    EXPECT_EQ(output.status, 0) << output.out;
    EXPECT_THAT(output.ErrLines(), ElementsAre(HasSubstr("key 36 was not delivered: No such device"),
                                               HasSubstr("key 9 was not delivered: Resource temporarily unavailable")));
}

}  // namespace
