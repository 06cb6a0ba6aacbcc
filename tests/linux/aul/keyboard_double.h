/// An on-screen keyboard on the session bus that a test shows and hides.
#pragma once

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <thread>

class KeyboardDouble {
public:
    /// The filter, where there is one, may answer in the keyboard's place.
    explicit KeyboardDouble(bool isVisible, sd_bus_message_handler_t filter = nullptr) : visible_(isVisible ? 1 : 0) {
        static const sd_bus_vtable table[] = {
            SD_BUS_VTABLE_START(0),
            SD_BUS_PROPERTY("Visible", "b", nullptr, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
            SD_BUS_PROPERTY("Other", "b", nullptr, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
            SD_BUS_VTABLE_END,
        };
        EXPECT_GE(sd_bus_open_user(&bus_), 0);
        EXPECT_GE(filter != nullptr ? sd_bus_add_filter(bus_, nullptr, filter, nullptr) : 0, 0);
        EXPECT_GE(sd_bus_add_object_vtable(bus_, nullptr, "/sm/puri/OSK0", "sm.puri.OSK0", table, &visible_), 0);
    }
    ~KeyboardDouble() {
        mustEnd_ = true;
        if (thread_.joinable()) {
            thread_.join();
        }
        sd_bus_flush_close_unref(bus_);
    }
    KeyboardDouble(const KeyboardDouble&) = delete;
    KeyboardDouble& operator=(const KeyboardDouble&) = delete;

    void Own() { EXPECT_GE(sd_bus_request_name(bus_, "sm.puri.OSK0", 0), 0); }
    /// Before Serve, and by a stranger that does not own the name.
    void EmitNow() const { Emit(); }
    void Serve() {
        thread_ = std::thread([this] {
            while (!mustEnd_) {
                if (wanted_ >= 0) {
                    visible_ = wanted_.exchange(-1);
                    Emit();
                }
                while (sd_bus_process(bus_, nullptr) > 0) {
                }
                sd_bus_wait(bus_, 10000);
            }
        });
    }
    void Show(bool isVisible) { wanted_ = isVisible ? 1 : 0; }

private:
    void Emit() const {
        sd_bus_emit_properties_changed(bus_, "/sm/puri/OSK0", "sm.puri.OSK0", "Other", "Visible", nullptr);
        sd_bus_flush(bus_);
    }

    sd_bus* bus_ = nullptr;
    int visible_;
    std::atomic<int> wanted_{-1};
    std::atomic<bool> mustEnd_{false};
    std::thread thread_;
};
