// Writes the Linux mappings of the SDL library of the building machine as a C++ source: write_built_in OUTPUT
//
// SDL's order is kept, since the first of several versions of a device stands for versions that are not listed. Fields
// that are decided by now (platform, hint) are left out.
#include <SDL.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

namespace {

std::string Shortened(const std::string& mapping) {
    std::istringstream fields(mapping);
    std::string result;
    for (std::string field; std::getline(fields, field, ',');) {
        const bool decided = field.rfind("platform:", 0) == 0 || field.rfind("hint:", 0) == 0;
        if (!field.empty() && !decided) {
            result += result.empty() ? field : ',' + field;
        }
    }
    return result;
}

std::string Escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        result += c == '"' || c == '\\' ? std::string{'\\', c} : c == '?' ? "\\?" : std::string{c};
    }
    return result;
}

// One named "*" stands for whatever SDL drives without the kernel.
bool IsOfLinuxPad(const std::string& mapping) {
    return mapping.find("platform:Linux") != std::string::npos && mapping.find(",*,") == std::string::npos;
}

int WriteMappings(std::ostream& out) {
    int written = 0;
    for (int i = 0; i < SDL_GameControllerNumMappings(); ++i) {
        const std::unique_ptr<char, decltype(&SDL_free)> text(SDL_GameControllerMappingForIndex(i), SDL_free);
        const std::string mapping = text ? text.get() : "";
        if (IsOfLinuxPad(mapping)) {
            out << "    \"" << Escaped(Shortened(mapping)) << "\\n\"\n";
            ++written;
        }
    }
    return written;
}

void WriteSource(std::ostream& out, const std::string& mappings) {
    out << "#include \"gamepad/mapping/built_in.h\"\n\nnamespace mapping {\nnamespace {\n\nconstexpr char kText[] =\n"
        << mappings
        << "    \"\";\n\n}  // namespace\n\n"
           "std::string_view BuiltInMappings() { return {kText, sizeof kText - 1}; }\n\n}  // namespace mapping\n";
}

}  // namespace

int main(int argc, char** argv) {
    // By place, not by label; and nothing of the builder's own settings.
    SDL_SetHintWithPriority(SDL_HINT_GAMECONTROLLER_USE_BUTTON_LABELS, "0", SDL_HINT_OVERRIDE);
    SDL_SetHintWithPriority(SDL_HINT_GAMECONTROLLERCONFIG, "", SDL_HINT_OVERRIDE);
    SDL_SetHintWithPriority(SDL_HINT_GAMECONTROLLERCONFIG_FILE, "", SDL_HINT_OVERRIDE);
    SDL_SetHintWithPriority(SDL_HINT_JOYSTICK_HIDAPI, "0", SDL_HINT_OVERRIDE);
    if (argc != 2 || SDL_Init(SDL_INIT_GAMECONTROLLER) != 0) {
        std::cerr << "write_built_in: " << (argc != 2 ? "expects the output's name" : SDL_GetError()) << '\n';
        return 1;
    }
    std::ostringstream mappings;
    const int count = WriteMappings(mappings);
    SDL_Quit();
    std::ofstream out(argv[1]);
    WriteSource(out, mappings.str());
    out.close();
    if (count == 0 || !out) {
        std::cerr << "write_built_in: " << (count == 0 ? "SDL knows no mappings" : "cannot write the output") << '\n';
        return 1;
    }
    return 0;
}
