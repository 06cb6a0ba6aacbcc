#include "service_access.h"

#include "../../ContextManager/src/GamepadContextManager.h"
#include "../../EventHandler/src/GamepadEventDispatcher.h"
#include "main.h"

pthread_mutex_t* SemaphoresMutex() {
    return &TimeMutex.tMutex;
}

void DestroyInstances() {
    Singleton<GamepadContextManager>::DestroyInstance();
    Singleton<GamepadEventDispatcher>::DestroyInstance();
}

void TakeServiceDown() {
    DeInitialize();
}
