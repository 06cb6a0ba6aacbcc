#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "key_reader.h"
#include "private_bus.h"
#include "program.h"
#include "service.h"

/// What the programs of the session have in their environment.
std::vector<std::string> SessionEnvironment();

/// An application with a window (living_room_window).
///
/// Threads  one. Each question is about what came since the answer before.
class Window {
public:
    /// `before` is what stands before it on the command line. The window has the focus when this returns.
    explicit Window(const std::string& title, const std::vector<std::string>& options = {},
                    const std::vector<std::string>& before = {});

    /// Waits for a line that begins with `text` and returns the rest of it; nothing when none comes.
    std::optional<std::string> Prints(const std::string& text);
    /// Waits for `count` changes of keys of the remote; fewer when no more come.
    std::vector<Key> Keys(size_t count);
    /// Waits until it has lost the focus, and returns what it got of the keys before.
    std::vector<Key> KeysUntilFocusIsLost();
    /// When it got the focus last.
    Clock::time_point Focused() const { return focused_; }
    bool WaitForFocus();

    Service& Process() { return *process_; }

private:
    std::unique_ptr<Service> process_;
    size_t place_ = 0;
    Clock::time_point focused_;
};

/// A desktop as in a living room, on the graphics card and the input devices of the machine: an X server, a window
/// manager, and on a bus of their own a screensaver, an on-screen keyboard and GameMode, which is started when a game
/// asks for it. The X server's own screensaver comes when nobody has used the machine for kIdleSeconds. The
/// display is there from the beginning, the bus when it was started.
///
/// Sets the environment of the test, once for the process. Errors: failed expectations.
class Session {
public:
    static constexpr int kIdleSeconds = 60;

    explicit Session(const std::filesystem::path& home);

    /// With all that lives on it, and on the display.
    void StartBus();
    void KillBus();
    /// By a signal; whatever has a window on it ends with it.
    void KillDisplay(int signal);
    void StartDisplay();

    /// The X server's answer to whether the display is on.
    static bool IsDisplayOn();
    static void SwitchDisplayOff();
    static void ShowKeyboard(bool isShown);
    /// As somebody does who leaves.
    static void ShowScreensaver();
    /// Waits until the X server reads the device.
    bool WaitUntilRead(const std::string& node) const;

private:
    void StartPrograms();

    const std::filesystem::path home_;
    std::unique_ptr<Service> server_;
    std::unique_ptr<Program> windowManager_;
    PrivateBus bus_;
    std::vector<std::unique_ptr<Program>> onBus_;
};
