#include "service_test.h"

#include <algorithm>

namespace {

constexpr int kGamePid = 4711;
constexpr int kMenuPid = 4712;
constexpr int kFocus = 5;  // as application status signals say it

}  // namespace

ServiceTest::ServiceTest() {
    platform.AllowError("app_config.json] doesn't exist");
}

ServiceTest::~ServiceTest() {
    faults::ForgetFaults();
    clock.LetRun();
}

void ServiceTest::Start() {
    if (!hasPad_) {
        Plug(kPad);
    }
    service.emplace(platform);
    ASSERT_TRUE(service->WaitUntilRunning());
}

void ServiceTest::Stop() {
    clock.LetRun();
    EXPECT_EQ(service->Stop(), 0);
}

void ServiceTest::Plug(const std::string& uid, const PadShape& shape) {
    hasPad_ = true;
    if (!service) {
        platform.AddPad(uid, shape);
        return;
    }
    platform.Connect(uid, shape);
    ASSERT_TRUE(platform.WaitForOpenPad(uid));
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
}

void ServiceTest::Send(int type, int code, int value, const std::string& uid) {
    platform.PushEvent(uid, type, code, value);
    ASSERT_TRUE(platform.WaitUntilHandled(uid));
}

void ServiceTest::EnterGame() {
    platform.SetApp(kGamePid, "game", 1);
    platform.SendGameAppNotice(GAMEAPP_OPENED, kGamePid);
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    platform.SendAppStatus(kGamePid, kFocus);
    ASSERT_TRUE(platform.WaitUntilAppStatusTold());
}

void ServiceTest::LeaveGame() {
    platform.SendAppStatus(kMenuPid, kFocus);
    ASSERT_TRUE(platform.WaitUntilAppStatusTold());
}

void ServiceTest::Change(const std::string& key, const Setting& value) {
    if (const int* const number = std::get_if<int>(&value)) {
        platform.SetInt(key, *number);
    } else if (const bool* const flag = std::get_if<bool>(&value)) {
        platform.SetBool(key, *flag);
    } else {
        platform.SetStr(key, std::get<std::string>(value));
    }
    ASSERT_TRUE(platform.WaitUntilChangesTold());
}

std::vector<std::string> ServiceTest::Errors() const {
    std::vector<std::string> errors;
    for (const LogLine& line : platform.LogLines()) {
        const bool atEveryEnd = line.message == "quorvex Exit" || line.message == "Please call[Initialize]first" ||
                                line.message == "Please call [Initialize] first";
        if (line.priority == DLOG_ERROR && !atEveryEnd) {
            errors.push_back(line.message);
        }
    }
    return errors;
}
