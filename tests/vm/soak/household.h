#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "controls.h"
#include "disk.h"
#include "living_room.h"
#include "wall_clock.h"

/// The people, pads and machines around the service, and what happens to them: the deeds. Each deed decides at random
/// how it is done, tells it, says which keys the service owes, and ends with everything settled. Those that last let
/// others happen meanwhile.
class Household : public LivingRoom {
protected:
    using Deed = void (Household::*)();
    struct NamedDeed {
        const char* what;
        Deed deed;
    };
    /// Those that may happen at any time.
    static const std::vector<NamedDeed> kEveryday;
    /// Those that last, and need the session as it should be.
    static const std::vector<NamedDeed> kRare;

    Household();

    void Do(const NamedDeed& deed);
    /// Some taps of any of the pads.
    void UseAPad();
    /// Makes the service start every thread that it starts at first use only.
    void UseEverythingOnce();
    /// Nobody plays, one pad is there, nothing is held.
    void Rest();

    std::mt19937 random_;
    size_t owed_ = 0;     ///< presses that the service owed
    size_t arrived_ = 0;  ///< those of them that came

private:
    struct Pad {
        std::unique_ptr<UinputPad> device;
        std::vector<Control> controls;
    };

    // Pads.
    void PressHome();
    void HoldSelectAndStart();
    void PlugInAPad();
    void UnplugAPad();
    void PlugManyInAndOut();
    void BatteryDies();
    void MoveSticksWildly();
    void PushSticksAround();
    // What the machine does to the service.
    void OverflowAPad();
    void StopForAWhile();
    void SetTheClock();
    void RewriteTheStatus();
    // The session.
    void PlayAGame();
    void LookAtTheDesktop();
    void WriteOnTheScreen();
    void OpenAnApplication();
    void RestartTheBus();
    void RestartTheDisplay();
    void BreakADisk();
    void BeAway();
    void ExpectActivityToCount();

    int Chance(int ways) { return static_cast<int>(random_() % static_cast<unsigned>(ways)); }
    template <typename Things>
    auto& AnyOf(Things& things) {
        return things[random_() % things.size()];
    }
    void Pause(milliseconds most);
    void Tell(const std::string& what) const;
    void Meanwhile();

    const char* Mode() const { return isPlaying_ ? kGameMode : kMenuMode; }
    /// Everything that the pad did has been read, and nobody pressed what nobody owed.
    void Settle(Pad& pad);
    void Owe(const std::vector<Key>& keys);
    /// The same, but only in the menus: a game gets the pad's buttons instead.
    void OweInMenus(const std::vector<Key>& keys);
    int KeyOf(const Control& control) const;

    /// One that has this button, if any is given; plugged in if there is none.
    Pad& AnyPad(std::optional<int> button = std::nullopt);
    const Control& AnyButtonOf(const Pad& pad);
    Pad PlugInOne(const std::vector<Control>& controls);
    void Unplug(size_t number);
    void Press(Pad& pad, const Control& control);
    void Release(Pad& pad, const Control& control);
    void HoldHome(Pad& pad);

    void StartAGame();
    void EndTheGame();
    void PlayOnTheConsole();
    void WaitForTheMenu();

    Disk memory_;
    Disk home_;
    WallClock clock_;
    std::vector<Pad> pads_;
    std::unique_ptr<Window> game_;
    bool isKnownToGameModeOnly_ = false;
    bool isPlaying_ = false;
    int status_ = 0;
    int scribbles_ = 0;
    int depth_ = 0;
};
