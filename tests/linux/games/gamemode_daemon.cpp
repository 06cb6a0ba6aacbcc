#include "gamemode_daemon.h"

#include <cstdlib>
#include <stdexcept>
#include <vector>

#include "bus/bus.h"
#include "events/events_thread.h"
#include "told.h"

namespace {

void AwaitDaemon() {
    const EventsThread thread;
    Told<bool> told;
    std::unique_ptr<Bus> bus;
    thread.Run([&] {
        bus = std::make_unique<Bus>(thread.Context(), Bus::Kind::kSession);
        bus->WatchName("com.feralinteractive.GameMode", [&told](bool owned) { told.Add(owned); });
    });
    const bool has_come = told.WaitFor(true);
    thread.Run([&] { bus.reset(); });
    if (!has_come) {
        throw std::runtime_error("GameMode does not come");
    }
}

}  // namespace

GameModeDaemon::GameModeDaemon() {
    home_.Write("gamemode.ini", "[general]\nreaper_freq=5\ninhibit_screensaver=0\nrenice=0\nioprio=off\n");
    setenv("XDG_CONFIG_HOME", home_.Path("").c_str(), 1);
    bus_.Start();
}

GameModeDaemon::~GameModeDaemon() {
    daemon_.reset();
    unsetenv("XDG_CONFIG_HOME");
}

void GameModeDaemon::Start() {
    daemon_ = std::make_unique<Child>(std::vector<std::string>{"gamemoded"});
    AwaitDaemon();
}

void GameModeDaemon::Kill() {
    daemon_->Kill();
}

void GameModeDaemon::KillBus() {
    bus_.Kill();
}

void GameModeDaemon::StartBus() {
    bus_.Start();
}

// Its own program begins when GameMode has answered, so that a daemon that is killed then leaves no call open, for
// which the bus would start another one.
Child GameModeDaemon::Game() const {
    Child game({"/usr/games/gamemoderun", "/bin/sh", "-c", "echo >\"$0\"; read line", has_registered_.Path()});
    has_registered_.Await();
    return game;
}
