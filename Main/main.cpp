#include "main.h"

#include <glib.h>
#include <semaphore.h>
#include <signal.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "../ContextManager/src/GamepadContextManager.h"
#include "../EventHandler/src/GamepadEventDispatcher.h"
#include "CThread/CThread.h"
#include "Log.h"

std::atomic<GMainLoop*> gLoop{nullptr};
std::atomic<bool> is_gamepad_service_accessible{true};

namespace {

// Held while the loop is asked to quit and while it is released, so that nobody asks a loop that is gone.
CRawMutex s_tLoopLock ACQUIRED_BEFORE(lock_order::BeforeTimeMutex);

/// What the handler leaves for the relay. Atomics and a POSIX semaphore are all that a handler may touch.
struct ReceivedSignals {
    ReceivedSignals() { sem_init(&tWakeUp, 0, 0); }
    void Note(int signo, bool quitsLoop) {
        if (signo > 0 && signo < NSIG) {
            ++aCount[signo];
        }
        if (quitsLoop) {
            bQuitsLoop = true;
        }
        sem_post(&tWakeUp);
    }

    std::atomic<unsigned> aCount[NSIG] = {};
    std::atomic<bool> bQuitsLoop{false};
    std::atomic<bool> bIsRelayed{false};
    sem_t tWakeUp;
};
ReceivedSignals s_tReceived;

// True when there was a loop to ask.
bool AskMainLoopToQuit() {
    CScopedLock lock(s_tLoopLock);
    if (gLoop == nullptr) {
        return false;
    }
    g_main_loop_quit(gLoop);
    return true;
}

/// Does what the signal handler may not do itself. The log and g_main_loop_quit take locks; a handler that called them
/// would wait for ever when the thread that it interrupted holds one. So the handler only counts the signal and clears
/// the flag, and this thread writes the message and ends the loop a moment later. It ends the loop for others, too.
class SignalRelay : public CThread {
public:
    void t_Main() override;
    ~SignalRelay() override;
    void Destroy() override;

private:
    static void m_LogReceived();
    static void m_HandleReceived();

    std::atomic<bool> m_bExit{false};
};

SignalRelay::~SignalRelay() {
    if (FlagCreate()) {
        SignalRelay::Destroy();
    }
    // What came while there was no thread.
    m_HandleReceived();
}

void SignalRelay::Destroy() {
    m_bExit = true;
    sem_post(&s_tReceived.tWakeUp);
    CThread::Destroy();
}

void SignalRelay::t_Main() {
    while (!m_bExit) {
        while (sem_wait(&s_tReceived.tWakeUp) != 0 && errno == EINTR) {
        }
        m_HandleReceived();
    }
}

void SignalRelay::m_LogReceived() {
    for (int signo = 1; signo < NSIG; ++signo) {
        for (unsigned left = s_tReceived.aCount[signo].exchange(0); left > 0; --left) {
            LOG_AS("sig_handler", __LINE__, DLOG_INFO, "Received Signal[%d]", signo);
        }
    }
}

void SignalRelay::m_HandleReceived() {
    constexpr std::chrono::milliseconds RETRY{1};
    m_LogReceived();
    if (!s_tReceived.bQuitsLoop.exchange(false)) {
        return;
    }
    // A loop that exists but does not run yet forgets that it was asked, so it is asked until it is gone.
    while (AskMainLoopToQuit()) {
        std::this_thread::sleep_for(RETRY);
    }
}

/// As long as it lives, the calling thread and threads that it creates get none of the handled signals.
class SignalsHeldBack {
public:
    SignalsHeldBack() {
        sigset_t handled;
        sigemptyset(&handled);
        sigaddset(&handled, SIGTERM);
        sigaddset(&handled, SIGUSR1);
        pthread_sigmask(SIG_BLOCK, &handled, &m_tBefore);
    }
    ~SignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &m_tBefore, nullptr); }
    SignalsHeldBack(const SignalsHeldBack&) = delete;
    SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

private:
    sigset_t m_tBefore;
};

// No signal may come between the first message, which tells whoever started us that we are there, and the handlers.
void StartWithHandlers() {
    const SignalsHeldBack none;
    LOG_AS("main", __LINE__, DLOG_INFO, "quorvex Start");
    s_tReceived.bIsRelayed = true;
    struct sigaction action = {};
    action.sa_handler = sig_handler;
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGUSR1, &action, nullptr);
}

// Signals are left to the other threads.
bool StartRelay(SignalRelay& relay) {
    const SignalsHeldBack none;
    return relay.Create("SignalRelay", CThread::STACK_SIZE);
}

void ReleaseMainLoop() {
    CScopedLock lock(s_tLoopLock);
    g_main_loop_unref(gLoop);
    gLoop = nullptr;
}

}  // namespace

void sig_handler(int signo) {
    const int savedErrno = errno;
    if (signo == SIGUSR1) {
        is_gamepad_service_accessible = false;
    }
    // Only a signal that finds a loop ends one; an earlier one is logged and no more.
    const bool quitsLoop = (signo == SIGUSR1 || signo == SIGTERM) && gLoop != nullptr;
    if (s_tReceived.bIsRelayed) {
        s_tReceived.Note(signo, quitsLoop);
    } else {
        // Not a signal but a call, in a program whose main is another.
        LOGI("Received Signal[%d]", signo);
        if (quitsLoop) {
            AskMainLoopToQuit();
        }
    }
    errno = savedErrno;
}

// The relay sees to it that the loop ends; the caller may be a thread that main is about to wait for.
void QuitMainLoop() {
    if (AskMainLoopToQuit() && s_tReceived.bIsRelayed) {
        s_tReceived.bQuitsLoop = true;
        sem_post(&s_tReceived.tWakeUp);
    }
}

bool Initialize() {
    GamepadContextManager* pContextManager = Singleton<GamepadContextManager>::GetInstance();
    if (pContextManager == nullptr) {
        LOGE("[context_manager]NULL");
        return false;
    }
    GamepadEventDispatcher* pDispatcher = Singleton<GamepadEventDispatcher>::GetInstance();
    if (pDispatcher == nullptr) {
        LOGE("[event_dispatcher]NULL");
        Singleton<GamepadContextManager>::DestroyInstance();
        return false;
    }
    if (pContextManager->Initialize() && pDispatcher->Initialize()) {
        return true;
    }
    // Before the instances are destroyed: a thread that is waited for may need a singleton's lock in order to end.
    pDispatcher->StopRemains();
    pContextManager->StopListening();
    Singleton<GamepadEventDispatcher>::DestroyInstance();
    Singleton<GamepadContextManager>::DestroyInstance();
    return false;
}

void DeInitialize() {
    if (GamepadEventDispatcher* pDispatcher = Singleton<GamepadEventDispatcher>::GetInstance()) {
        pDispatcher->DeInitialize();
    }
    if (GamepadContextManager* pContextManager = Singleton<GamepadContextManager>::GetInstance()) {
        pContextManager->DeInitialize();
    }
    Singleton<GamepadContextManager>::DestroyInstance();
    Singleton<GamepadEventDispatcher>::DestroyInstance();
}

int main() {
    SignalRelay relay;
    StartWithHandlers();
    if (!Initialize()) {
        LOGE("Call[Initialize]err");
        return -1;
    }
    // What came so far has found no loop and only waits for its line in the log.
    if (!StartRelay(relay)) {
        LOGE("Create[SignalRelay]failed!");
        DeInitialize();
        return -1;
    }
    gLoop = g_main_loop_new(nullptr, TRUE);
    if (gLoop == nullptr) {
        LOGE("gLoop is NULL!");
        return -1;
    }
    g_main_loop_run(gLoop);
    LOGI("unref gmain loop");
    ReleaseMainLoop();
    DeInitialize();
    LOGE("quorvex Exit");
    return 0;
}
