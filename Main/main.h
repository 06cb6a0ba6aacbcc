#ifndef MAIN_MAIN_H
#define MAIN_MAIN_H

#include <atomic>

typedef struct _GMainLoop GMainLoop;

/// The main loop; null outside the running loop. Ask it to end through QuitMainLoop.
extern std::atomic<GMainLoop*> gLoop;

/// False once "gamepad-service" has gone (SIGUSR1): its client library must not be called during the shutdown.
extern std::atomic<bool> is_gamepad_service_accessible;

/// Builds and starts the two singletons. False leaves neither behind.
bool Initialize();

/// Stops and destroys the two singletons.
void DeInitialize();

/// The handler of SIGTERM and SIGUSR1. Safe on any thread at any moment.
void sig_handler(int signo);

/// Asks the main loop to end and does not wait for it; without a loop, nothing happens. Any thread, not from a signal
/// handler.
void QuitMainLoop();

#endif
