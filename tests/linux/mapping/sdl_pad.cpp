#include "sdl_pad.h"

#include <array>
#include <stdexcept>

namespace {

void Hint(const char* name, const std::string& value) {
    SDL_SetHintWithPriority(name, value.c_str(), SDL_HINT_OVERRIDE);
}

void Start(const std::string& device) {
    Hint(SDL_HINT_GAMECONTROLLER_USE_BUTTON_LABELS, "0");
    Hint(SDL_HINT_JOYSTICK_HIDAPI, "0");
    Hint(SDL_HINT_JOYSTICK_ALLOW_BACKGROUND_EVENTS, "1");
    Hint("SDL_JOYSTICK_DISABLE_UDEV", "1");
    Hint(SDL_HINT_JOYSTICK_DEVICE, device);
    if (SDL_Init(SDL_INIT_GAMECONTROLLER) != 0) {
        throw std::runtime_error(SDL_GetError());
    }
}

std::string TakeString(char* text) {
    const std::unique_ptr<char, decltype(&SDL_free)> owner(text, SDL_free);
    return text == nullptr ? "" : text;
}

}  // namespace

std::vector<std::string> MappingsOfSdl() {
    Start("");
    std::vector<std::string> mappings;
    for (int i = 0; i < SDL_GameControllerNumMappings(); ++i) {
        const std::string mapping = TakeString(SDL_GameControllerMappingForIndex(i));
        if (mapping.find("platform:Linux") != std::string::npos) {
            mappings.push_back(mapping);
        }
    }
    SDL_Quit();
    return mappings;
}

std::string WithoutChecksum(std::string guid) {
    return guid.replace(4, 4, "0000");
}

SdlPad::SdlPad(const FakeEvdev& device, const std::string& extraMapping) {
    Start(device.Path());
    if (!extraMapping.empty() && SDL_GameControllerAddMapping(extraMapping.c_str()) < 0) {
        throw std::runtime_error(SDL_GetError());
    }
    if (SDL_NumJoysticks() != 1) {
        throw std::runtime_error("SDL does not see the device");
    }
    controller_ = SDL_IsGameController(0) == SDL_TRUE ? SDL_GameControllerOpen(0) : nullptr;
    joystick_ = SDL_JoystickOpen(0);
}

SdlPad::~SdlPad() {
    if (controller_ != nullptr) {
        SDL_GameControllerClose(controller_);
    }
    SDL_JoystickClose(joystick_);
    SDL_Quit();
}

std::string SdlPad::Guid() const {
    std::array<char, 40> text{};
    SDL_JoystickGetGUIDString(SDL_JoystickGetGUID(joystick_), text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::string SdlPad::Mapping() const {
    return TakeString(SDL_GameControllerMapping(controller_));
}

bool SdlPad::Pressed(SDL_GameControllerButton button) const {
    return SDL_GameControllerGetButton(controller_, button) == SDL_PRESSED;
}
