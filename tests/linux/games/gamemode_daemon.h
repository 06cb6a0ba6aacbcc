/// The real GameMode daemon on a bus of the test's own.
#pragma once

#include <memory>
#include <string>

#include "child.h"
#include "fifo.h"
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
    void KillBus();
    void StartBus();

    /// A process that has registered itself as a game and waits for a line on its standard input.
    Child Game() const;

private:
    TemporaryFolder home_;
    const Fifo has_registered_{home_.Path("fifo")};
    PrivateBus bus_;
    std::unique_ptr<Child> daemon_;
};
