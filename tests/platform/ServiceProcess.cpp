#include "ServiceProcess.h"

#include <cstdio>
#include <cstdlib>

#include "main.h"

extern "C" int quorvex_main();

ServiceProcess::ServiceProcess(FakePlatform& platform) : platform_(platform), turn_(g_idle_source_new()) {
    platform_.AllowError("quorvex Exit");
    platform_.AllowError("Please call[Initialize]first");
    platform_.AllowError("Please call [Initialize] first");
    gLoop = nullptr;
    is_gamepad_service_accessible = true;
    sigaction(SIGTERM, nullptr, &terminateBefore_);
    sigaction(SIGUSR1, nullptr, &user1Before_);
    g_source_set_callback(turn_, NoteTurn, this, nullptr);
    g_source_attach(turn_, nullptr);
    thread_ = std::thread([this] { Run(); });
}

ServiceProcess::~ServiceProcess() {
    if (!Stop()) {
        fprintf(stderr, "ServiceProcess: the program does not end\n");
        abort();
    }
    thread_.join();
    g_source_destroy(turn_);
    g_source_unref(turn_);
    sigaction(SIGTERM, &terminateBefore_, nullptr);
    sigaction(SIGUSR1, &user1Before_, nullptr);
}

void ServiceProcess::Run() {
    pthread_setname_np(pthread_self(), "quorvex");
    const int status = quorvex_main();
    const auto lock = platform_.Lock();
    status_ = status;
    platform_.Changed();
}

gboolean ServiceProcess::NoteTurn(gpointer self) {
    auto& process = *static_cast<ServiceProcess*>(self);
    const auto lock = process.platform_.Lock();
    process.turns_ = true;
    process.platform_.Changed();
    return G_SOURCE_REMOVE;
}

bool ServiceProcess::WaitUntilRunning(std::chrono::milliseconds atMost) {
    const auto polls = [this] { return turns_ && platform_.SaidLocked("Loop to handle gamepad key event: menumode["); };
    const bool decided = platform_.WaitUntil([&] { return status_ || polls(); }, atMost);
    const auto lock = platform_.Lock();
    return decided && !status_;
}

void ServiceProcess::Signal(int signal) {
    const auto lock = platform_.Lock();
    if (!status_) {
        pthread_kill(thread_.native_handle(), signal);
    }
}

std::optional<int> ServiceProcess::WaitForEnd(std::chrono::milliseconds atMost) {
    platform_.WaitUntil([this] { return status_.has_value(); }, atMost);
    const auto lock = platform_.Lock();
    return status_;
}

std::optional<int> ServiceProcess::Stop() {
    // A signal before the main loop only leaves its message.
    platform_.WaitUntil([this] { return status_ || turns_; }, kSoon);
    Signal(SIGTERM);
    return WaitForEnd();
}
