#ifndef CONTEXTMANAGER_GAMEPADCONTEXTMANAGER_H
#define CONTEXTMANAGER_GAMEPADCONTEXTMANAGER_H

#include <atomic>
#include <cstdint>
#include <vector>

#include "CThread/CRawMutex.h"
#include "CThread/LockOrder.h"
#include "CThread/Singleton.h"

/// Knows which game applications run and decides, at each change of the focus, whether the gamepad drives the TV's
/// menus or is left to a game. The on-screen keyboard brings the menus back for as long as it is shown.
///
/// Life     one instance, through Singleton; Initialize, DeInitialize, destruct. The list survives DeInitialize.
/// Threads  any: the gamepad library's, the dispatcher's, the application status thread, main.
/// Locks    m_tPIDListMutex guards the list; RegisterGameAppPID holds it while it asks for the focus and stops menu
/// mode.
class GamepadContextManager : public Singleton<GamepadContextManager> {
public:
    GamepadContextManager();
    ~GamepadContextManager() override;

    /// False when application status signals cannot be listened to.
    bool Initialize();
    void DeInitialize();
    /// No application status signal is heard any more; waits for one that is under way.
    void StopListening();

    /// A game app has opened, or runs already. False before Initialize.
    bool RegisterGameAppPID(int pid);
    /// A game app has closed. Menu mode comes back with the next change of the focus. False before Initialize.
    bool UnRegisterGameAppPID(int pid);

    /// True when the application of this process has the focus, which is then remembered.
    bool IsFocusApp(int pid);

private:
    static int m_AppStatusChanged(int pid, int status, void* data);
    void m_ActiveAppChanged(int pid, int status);
    bool m_IsGameApp(int pid);
    bool m_IsListed(int pid) const REQUIRES(m_tPIDListMutex);
    void m_AddToList(int pid) REQUIRES(m_tPIDListMutex);

    std::vector<int32_t> m_vGameAppPIDList GUARDED_BY(m_tPIDListMutex);
    CRawMutex m_tPIDListMutex ACQUIRED_BEFORE(lock_order::AfterList);
    std::atomic<bool> m_bIsInitialized{false};
    std::atomic<int32_t> m_iLastFocusPID{0};
    std::atomic<bool> m_bIsListening{false};
};

/// The gamepad library's notice: a game app has opened (0) or closed (1). On the library's thread.
void GameAppStatusChangeCB(int type, int pid, void* userData);

#endif
