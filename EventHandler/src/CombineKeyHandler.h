#ifndef EVENTHANDLER_COMBINEKEYHANDLER_H
#define EVENTHANDLER_COMBINEKEYHANDLER_H

#include <atomic>
#include <cstdint>
#include <vector>

#include "CThread/CRawMutex.h"
#include "CThread/CThread.h"
#include "CThread/LockOrder.h"
#include "platform/gamepad.h"

/// A registered pair of buttons. -1 is "no key" for virtual keys.
struct Combination_Info {
    int32_t m_iKey1;
    int32_t m_iVK1;  ///< sent when the first button is pressed alone
    int32_t m_iKey2;
    int32_t m_iVK2;  ///< sent when the second button is pressed alone
    int32_t m_iCombinedVK;
    int32_t m_iHoldTime;  ///< milliseconds; 0 sends the combined key at once, negative: no pair was found
};

/// Buttons that take part in a pair: one alone may send a key of its own at the press, both held together for the
/// pair's hold time send the combined key, once per hold. Every key is sent as a whole press and release.
///
/// Threads  RegisterCombinationKey before any event; events on the dispatcher's thread; the hold is measured by
///          "CombinedHandle-Thread", which runs from the first completed pair with a hold time until Destroy.
/// Locks    m_tCombineLock guards the state of the hold and is held while a key is sent.
class CombineKeyHandler : public CThread {
public:
    CombineKeyHandler() = default;

    void t_Main() override;
    ~CombineKeyHandler() override;
    /// Ends the thread, if there is one.
    void Destroy() override;

    void RegisterCombinationKey(int key1, int vk1, int key2, int vk2, int combinedVK, int holdTime);
    bool IsCombinationKey(int code) const;
    /// Value 1 is a press, 0 a release, any other is ignored; the type is not looked at.
    void HandleKeyEvent(const _gamepad_event_s& event);

private:
    void m_HandlePressEvent(int code) EXCLUDES(m_tCombineLock);
    void m_HandleReleaseEvent(int code) EXCLUDES(m_tCombineLock);
    void m_HandleFirstPress(int code) REQUIRES(m_tCombineLock);
    void m_HandlePartnerPress(int code, const Combination_Info& info) REQUIRES(m_tCombineLock);
    bool m_EnsureThread();
    void m_CountHold(int& counter) REQUIRES(m_tCombineLock);
    void m_GetCombineInfo(int keyA, int keyB, Combination_Info& info) const;
    int m_GetVKValue(int code) const;

    std::vector<Combination_Info> m_vCombinationList;
    int32_t m_iHoldTime GUARDED_BY(m_tCombineLock) = 0;
    int32_t m_iCombinedVK GUARDED_BY(m_tCombineLock) = -1;
    int32_t m_iKey1 GUARDED_BY(m_tCombineLock) = -1;  ///< first button held, -1 for none
    int32_t m_iKey2 GUARDED_BY(m_tCombineLock) = -1;  ///< second button held, -1 for none
    std::atomic<bool> m_bExit{false};
    CRawMutex m_tCombineLock ACQUIRED_AFTER(lock_order::AfterMenuMode) ACQUIRED_BEFORE(lock_order::BeforeTimeMutex);
};

#endif
