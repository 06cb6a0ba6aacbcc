// An application of the living room: living_room_window TITLE [--pads]
//
// Shows a window and prints what reaches it, a line each: "focus SECONDS" (of CLOCK_MONOTONIC), "no focus", "key CODE
// 1" and "key CODE 0" in the kernel's numbers, and with --pads, as a game that reads every pad itself, "pad BUTTON 1"
// and "pad BUTTON 0". Like many games it does nothing to keep the screensaver away.
#include <SDL.h>
#include <SDL_syswm.h>
#include <time.h>

#include <cstdio>
#include <set>
#include <string>

namespace {

constexpr Uint32 kFrameMilliseconds = 25;
constexpr unsigned kKernelToX = 8;

std::set<unsigned> heldKeys;

// A key that repeats is still the same press.
void OnKey(const XKeyEvent& event) {
    const bool isDown = event.type == KeyPress;
    if (isDown ? heldKeys.insert(event.keycode).second : heldKeys.erase(event.keycode) != 0) {
        std::printf("key %u %d\n", event.keycode - kKernelToX, isDown ? 1 : 0);
    }
}

void OnWindow(const SDL_WindowEvent& event) {
    if (event.event == SDL_WINDOWEVENT_FOCUS_GAINED) {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        std::printf("focus %lld.%09ld\n", static_cast<long long>(now.tv_sec), now.tv_nsec);
    } else if (event.event == SDL_WINDOWEVENT_FOCUS_LOST) {
        std::puts("no focus");
        heldKeys.clear();  // they go up for somebody else
    }
}

void OnButton(const SDL_ControllerButtonEvent& event) {
    std::printf("pad %s %d\n",
                SDL_GameControllerGetStringForButton(static_cast<SDL_GameControllerButton>(event.button)), event.state);
}

void OnSystem(const SDL_SysWMmsg& message) {
    if (message.subsystem == SDL_SYSWM_X11) {
        const XEvent& event = message.msg.x11.event;
        if (event.type == KeyPress || event.type == KeyRelease) {
            OnKey(event.xkey);
        }
    }
}

void OnEvent(const SDL_Event& event) {
    switch (event.type) {
        case SDL_SYSWMEVENT:
            OnSystem(*event.syswm.msg);
            break;
        case SDL_WINDOWEVENT:
            OnWindow(event.window);
            break;
        case SDL_CONTROLLERDEVICEADDED:
            std::puts(SDL_GameControllerOpen(event.cdevice.which) != nullptr ? "pad opened" : SDL_GetError());
            break;
        case SDL_CONTROLLERBUTTONDOWN:
        case SDL_CONTROLLERBUTTONUP:
            OnButton(event.cbutton);
            break;
        default:
            break;
    }
}

bool Show(const char* title, bool readsPads) {
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
    if (SDL_Init(SDL_INIT_VIDEO | (readsPads ? SDL_INIT_GAMECONTROLLER : 0U)) != 0) {
        return false;
    }
    SDL_EventState(SDL_SYSWMEVENT, SDL_ENABLE);
    return SDL_CreateWindow(title, SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, 400, 300, 0) != nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (argc < 2 || !Show(argv[1], argc > 2 && std::string(argv[2]) == "--pads")) {
        std::printf("no window: %s\n", SDL_GetError());
        return 1;
    }
    bool runs = true;
    while (runs) {
        for (SDL_Event event; SDL_PollEvent(&event) != 0;) {
            OnEvent(event);
            runs = runs && event.type != SDL_QUIT;
        }
        SDL_Delay(kFrameMilliseconds);
    }
    SDL_Quit();
}
