/// A device as SDL's own event device driver and game controller layer see it: the reference for the code under test.
#pragma once

#include <SDL.h>

#include <memory>
#include <string>
#include <vector>

#include "fake_evdev.h"

/// The mappings for Linux that the SDL library carries, by place.
std::vector<std::string> MappingsOfSdl();

/// SDL's names for the sixteen bytes of a GUID, without its name checksum.
std::string WithoutChecksum(std::string guid);

class SdlPad {
public:
    /// extraMapping: added to those that SDL has.
    explicit SdlPad(const FakeEvdev& device, const std::string& extraMapping = "");
    ~SdlPad();
    SdlPad(const SdlPad&) = delete;
    SdlPad& operator=(const SdlPad&) = delete;

    bool IsController() const { return controller_ != nullptr; }
    std::string Guid() const;
    std::string Name() const { return SDL_JoystickName(joystick_); }
    std::string Mapping() const;
    int Buttons() const { return SDL_JoystickNumButtons(joystick_); }
    int Axes() const { return SDL_JoystickNumAxes(joystick_); }
    int Hats() const { return SDL_JoystickNumHats(joystick_); }

    void ReadEvents() { SDL_GameControllerUpdate(); }
    bool Pressed(SDL_GameControllerButton button) const;
    int Position(SDL_GameControllerAxis axis) const { return SDL_GameControllerGetAxis(controller_, axis); }

private:
    SDL_GameController* controller_ = nullptr;
    SDL_Joystick* joystick_ = nullptr;
};
