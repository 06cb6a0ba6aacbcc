// The text in which the gamepad library lists the games that run.

#include <set>

#include "fuzz.h"
#include "service_life.h"

namespace {

/// How often the service asked for the application of a process above 0: once for each that it took for a game.
std::size_t Asked(const FakePlatform& platform) {
    return platform.Calls("aul_app_get_appid_bypid").size();
}

std::size_t Fields(const std::string& text) {
    std::size_t fields = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        fields += text[i] != ',' && (i == 0 || text[i - 1] == ',') ? 1 : 0;
    }
    return fields;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::Input(data, size).Rest().c_str();
    FakePlatform platform;
    platform.SetGameApps(text);
    fuzz::ServiceLife::Run(platform, [] { return false; });
    fuzz::Require(Asked(platform) <= Fields(text), "each entry of the list is at most one game");
    return 0;
}
