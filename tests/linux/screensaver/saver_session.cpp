#include "saver_session.h"

void SaverSession::TearDown() {
    if (!isWatching_) {
        Watch();
    }
    Ignore();
    EXPECT_TRUE(ThreadEnds("platform-events"));
}

void SaverSession::OnChange(keynode_t* node, void* self) {
    auto& session = *static_cast<SaverSession*>(self);
    session.state_ = vconf_keynode_get_bool(node);
    ++session.notices_;
}

void SaverSession::Watch() {
    ASSERT_EQ(vconf_notify_key_changed(kStateKey, OnChange, this), 0);
    isWatching_ = true;
}

void SaverSession::Ignore() {
    if (isWatching_) {
        EXPECT_EQ(vconf_ignore_key_changed(kStateKey, OnChange), 0);
        isWatching_ = false;
    }
}

bool SaverSession::Becomes(int state) {
    return RunMainLoopUntil([&] { return state_ == state; });
}
