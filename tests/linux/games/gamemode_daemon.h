/// The real GameMode daemon on a bus of the test's own.
#pragma once

#include <memory>
#include <string>

#include "child.h"
#include "private_bus.h"
#include "temporary_folder.h"

class GameModeDaemon {
public:
    /// The bus is there from the start, the daemon is not. It has settings of its own, in which it touches nothing of
    /// the machine's.
    GameModeDaemon();
    ~GameModeDaemon();

    void Start();  ///< and waits until it owns its name
    void Kill();   ///< without a warning
    void RestartBus();

    /// A process that registers itself as a game and then sleeps.
    static Child Game();

private:
    TemporaryFolder home_;
    PrivateBus bus_;
    std::unique_ptr<Child> daemon_;
};
