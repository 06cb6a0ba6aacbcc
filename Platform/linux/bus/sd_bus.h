/// The functions of sd-bus, loaded when the first bus is connected to: with the libraries that libsystemd needs in turn
/// it takes 1.3 MB and a third of the time to start, which a machine without a bus does not pay.
#pragma once

#include <systemd/sd-bus.h>

#define QUORVEX_SD_BUS_FUNCTIONS(X)    \
    X(sd_bus_add_match_async)          \
    X(sd_bus_call_async)               \
    X(sd_bus_call_method_async)        \
    X(sd_bus_close_unref)              \
    X(sd_bus_get_events)               \
    X(sd_bus_get_fd)                   \
    X(sd_bus_get_timeout)              \
    X(sd_bus_get_unique_name)          \
    X(sd_bus_is_open)                  \
    X(sd_bus_is_ready)                 \
    X(sd_bus_message_append)           \
    X(sd_bus_message_enter_container)  \
    X(sd_bus_message_exit_container)   \
    X(sd_bus_message_get_sender)       \
    X(sd_bus_message_is_method_error)  \
    X(sd_bus_message_new_method_call)  \
    X(sd_bus_message_peek_type)        \
    X(sd_bus_message_read)             \
    X(sd_bus_message_set_auto_start)   \
    X(sd_bus_message_set_expect_reply) \
    X(sd_bus_message_skip)             \
    X(sd_bus_message_unref)            \
    X(sd_bus_open_system)              \
    X(sd_bus_open_user)                \
    X(sd_bus_process)                  \
    X(sd_bus_send)                     \
    X(sd_bus_slot_unref)

struct SdBusFunctions {
// NOLINTNEXTLINE(bugprone-macro-parentheses): a member's name stands without
#define QUORVEX_MEMBER(name) decltype(&::name) name = nullptr;
    QUORVEX_SD_BUS_FUNCTIONS(QUORVEX_MEMBER)
#undef QUORVEX_MEMBER
};

/// False where libsystemd is not installed, which is told of once. Any thread.
bool LoadSdBus();

/// After LoadSdBus: whoever has a bus or a message may call them.
const SdBusFunctions& SdBus();
