#ifndef TESTS_LINUX_SUPPORT_MODEL_COMPOSITOR_H
#define TESTS_LINUX_SUPPORT_MODEL_COMPOSITOR_H

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "display/wayland_message.h"

/// A Wayland compositor that has a seat and, where they are asked for, outputs whose power can be controlled. It stands
/// in for real ones in what those cannot do without a screen. Serves one client after the other; sets and restores
/// WAYLAND_DISPLAY. It is there from the start.
class ModelCompositor {
public:
    ModelCompositor(const std::string& path, size_t outputs);
    ~ModelCompositor();
    ModelCompositor(const ModelCompositor&) = delete;
    ModelCompositor& operator=(const ModelCompositor&) = delete;

    /// The number of outputs that a client controls.
    size_t Controlled() const;
    void SetPower(size_t output, bool isOn);
    bool IsOn(size_t output) const;
    /// Unplugs an output.
    void Remove(size_t output);
    /// Ends the client's connection with a protocol error.
    void Refuse();

private:
    void Run();
    void Serve();
    void Handle(uint32_t object, uint16_t opcode, WaylandArguments arguments);
    void HandleBindLocked(WaylandArguments arguments);
    void TellPowerLocked(size_t output);
    void SendLocked(WaylandRequest& event) const;

    const int listener_;
    mutable std::mutex lock_;
    int client_ = -1;
    std::vector<bool> isOn_;
    uint32_t manager_ = 0;
    std::map<uint32_t, size_t> outputObjects_;  ///< bound outputs
    std::map<uint32_t, size_t> controls_;
    std::thread thread_;
};

#endif
