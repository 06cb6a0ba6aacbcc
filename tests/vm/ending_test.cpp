// Ways to end, and to fail to begin.
#include <signal.h>
#include <sys/stat.h>

#include "console_keys.h"
#include "remote_test.h"

namespace {

constexpr int kFailedStart = 255;
constexpr int kKilled = 1000 + SIGKILL;
constexpr uid_t kNobody = 65534;

class WithAKeyHeld : public RemoteTest {
protected:
    void SetUp() override {
        RemoteTest::SetUp();
        pad_ = PlugIn();
        pad_->Press(BTN_SOUTH);
        ExpectKeys(Pressed(KEY_ENTER));
        EXPECT_EQ(console_.Read(1), Pressed(KEY_ENTER));
    }

    void ExpectNothingDown() {
        const auto rest = keys_->ReadUntilGone();
        ASSERT_TRUE(rest) << "the keyboard outlives the service";
        EXPECT_THAT(*rest, testing::AnyOf(IsEmpty(), ElementsAre(Key{KEY_ENTER, 0})));
        EXPECT_EQ(console_.Read(1), Released(KEY_ENTER));
        keys_.reset();
    }

    ConsoleKeys console_;
    std::unique_ptr<UinputPad> pad_;
};

TEST_F(WithAKeyHeld, SigtermReleasesIt) {
    service_->Signal(SIGTERM);
    const auto rest = keys_->ReadUntilGone();
    ASSERT_TRUE(rest);
    EXPECT_EQ(*rest, Released(KEY_ENTER)) << "a reader of the node is told before the node goes";
    EXPECT_EQ(console_.Read(1), Released(KEY_ENTER));
    EXPECT_EQ(service_->ExitStatus(), 0);
    EXPECT_EQ(service_->Count("Received Signal[15]"), 1U);
    keys_.reset();
}

TEST_F(WithAKeyHeld, Sigusr1ReleasesIt) {
    service_->Signal(SIGUSR1);
    EXPECT_EQ(service_->ExitStatus(), 0);
    EXPECT_EQ(service_->Count("Received Signal[10]"), 1U);
    EXPECT_EQ(service_->Count("[gamepad-service]has exited already"), 1U);
    ExpectNothingDown();
}

TEST_F(WithAKeyHeld, SigkillLeavesNothingDown) {
    service_->Signal(SIGKILL);
    EXPECT_EQ(service_->ExitStatus(), kKilled);
    ExpectNothingDown();
}

TEST_F(WithAKeyHeld, ACrashLeavesNothingDown) {
    service_->Signal(SIGSEGV);
    EXPECT_NE(service_->ExitStatus(), 0);
    ExpectNothingDown();
}

TEST_F(WithAKeyHeld, AServiceThatStartsAgainFindsNothingDown) {
    service_->Signal(SIGKILL);
    EXPECT_EQ(service_->ExitStatus(), kKilled);
    ExpectNothingDown();
    Start();
    EXPECT_THAT(keys_->HeldKeys(), IsEmpty());
    WaitUntilServed(*pad_);
    pad_->Release(BTN_SOUTH);
    ExpectNothingBefore(*pad_);
}

class Starting : public StoppedRemoteTest {
protected:
    static constexpr const char* kUinput = "/dev/uinput";

    /// A user without any rights but those to what everybody may use.
    ServiceOptions OptionsOfNobody() const {
        ServiceOptions options = Options();
        options.user = kNobody;
        std::filesystem::permissions(runtime_, std::filesystem::perms::all);
        return options;
    }
    void StartAsNobody() {
        service_ = std::make_unique<Service>(OptionsOfNobody());
        ASSERT_TRUE(service_->Prints("Loop to handle gamepad key event")) << service_->Tail();
        keys_ = std::make_unique<KeyReader>();
        ASSERT_TRUE(keys_->Found());
    }

    void ExpectRefusal(const ServiceOptions& options, const std::string& reason) {
        service_ = std::make_unique<Service>(options);
        EXPECT_EQ(service_->ExitStatus(), kFailedStart);
        EXPECT_TRUE(service_->Prints("Call[Initialize]err"));
        EXPECT_EQ(service_->Count(kUinput), 1U) << "one line says why";
        EXPECT_THAT(service_->Line(kUinput), HasSubstr(reason));
    }
};

/// A service of a user whose rights to a pad come and go with the session that is shown.
class AUser : public Starting {
protected:
    void SetUp() override {
        ASSERT_EQ(chmod(kUinput, 0666), 0);
        Let(true);
        StartAsNobody();
        WaitUntilServed(pad_);
    }
    ~AUser() override { chmod(kUinput, 0600); }

    void Let(bool read) const { EXPECT_EQ(chmod(pad_.Node().c_str(), read ? 0666 : 0600), 0); }

    UinputPad pad_{CommonPad()};
};

TEST_F(AUser, WhoMayNotReadThePadAnyMoreHasNoKeyHeldByIt) {
    pad_.Press(BTN_SOUTH);
    ExpectKeys(Pressed(KEY_ENTER));
    Let(false);
    ExpectKeys(Released(KEY_ENTER));
    EXPECT_TRUE(service_->Prints("pad disconnected")) << service_->Tail();
    EXPECT_FALSE(Reads(pad_.Node()));
    pad_.Release(BTN_SOUTH);
}

TEST_F(AUser, WhoMayReadThePadAgainIsServedAgain) {
    Let(false);
    ASSERT_TRUE(service_->Prints("pad disconnected")) << service_->Tail();
    Let(true);
    WaitUntilServed(pad_);
    ExpectNothingBefore(pad_);
}

TEST_F(Starting, WithoutTheRightToMakeAKeyboardSaysWhoGrantsIt) {
    ASSERT_EQ(chmod(kUinput, 0600), 0);
    ExpectRefusal(OptionsOfNobody(), "udev rule");
    EXPECT_THAT(service_->Line(kUinput), HasSubstr("may not be opened by this user"));
}

TEST_F(Starting, WithoutTheKernelModuleSaysWhichIsMissing) {
    ASSERT_EQ(rename(kUinput, "/dev/uinput-away"), 0);
    ExpectRefusal(Options(), "modprobe uinput");
    ASSERT_EQ(rename("/dev/uinput-away", kUinput), 0);
}

TEST_F(Starting, NeedsNoMoreThanTheRightToTheDevices) {
    ASSERT_EQ(chmod(kUinput, 0666), 0);
    UinputPad pad(CommonPad());
    StartAsNobody();
    EXPECT_FALSE(Reads(pad.Node())) << "the pad is not for everybody yet";
    ASSERT_EQ(chmod(pad.Node().c_str(), 0666), 0);
    pad.Unplug();
    const auto another = std::make_unique<UinputPad>(CommonPad());
    ASSERT_EQ(chmod(another->Node().c_str(), 0666), 0);
    ASSERT_EQ(chmod(kUinput, 0600), 0);
    WaitUntilServed(*another);
    ExpectNothingBefore(*another);
}

}  // namespace
