#include "gamepad/pad_finder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

#include "log_record.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// A link to itself: there, but it never opens.
class ANodeThatDoesNotOpen : public testing::Test {
protected:
    ANodeThatDoesNotOpen() {
        std::string name = testing::TempDir() + "quorvex-finder-XXXXXX";
        folder_ = mkdtemp(name.data());
        for (const char* node : {"/event3", "/event4"}) {
            std::filesystem::create_symlink(folder_ + node, folder_ + node);
        }
        TakeLog();
    }
    ~ANodeThatDoesNotOpen() override { std::filesystem::remove_all(folder_); }

    gamepad::Candidate Node(const std::string& name, bool is_pad) {
        return {folder_ + "/" + name, "/sys/" + name, "", is_pad};
    }

    std::string folder_;
    gamepad::PadList pads_;
    gamepad::Listeners listeners_;
    mapping::Database database_{mapping::Sources{}};
    gamepad::PadFinder finder_{pads_, listeners_, database_};
};

TEST_F(ANodeThatDoesNotOpen, IsToldOnceAndRemembered) {
    finder_.Consider(Node("event3", true));
    finder_.Consider(Node("event3", true));
    EXPECT_THAT(TakeLog(),
                ElementsAre("the pad at " + folder_ + "/event3 cannot be opened: Too many levels of symbolic links"));
    EXPECT_TRUE(finder_.WasRefused(folder_ + "/event3"));
    EXPECT_EQ(pads_.Count(), 0);
}

TEST_F(ANodeThatDoesNotOpen, IsToldForEachPad) {
    finder_.Consider(Node("event3", true));
    finder_.Consider(Node("event4", true));
    EXPECT_EQ(TakeLog().size(), 2U);
}

TEST_F(ANodeThatDoesNotOpen, StandsForTheOthersWhereNobodyKnowsWhatTheyAre) {
    finder_.Consider(Node("event3", false));
    finder_.Consider(Node("event4", false));
    EXPECT_THAT(TakeLog(), ElementsAre(HasSubstr("if a pad does not show up")));
}

TEST_F(ANodeThatDoesNotOpen, IsNotToldWhenItHasJustVanished) {
    finder_.Consider(Node("event5", true));
    EXPECT_THAT(TakeLog(), IsEmpty());
    EXPECT_FALSE(finder_.WasRefused(folder_ + "/event5"));
}

}  // namespace
