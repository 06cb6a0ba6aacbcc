/// Messages of the Wayland protocol: 32-bit words in the machine's byte order; texts end with a NUL and are padded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// A request while it is put together. Object 0 is none.
class WaylandRequest {
public:
    WaylandRequest(uint32_t object, uint16_t opcode);
    WaylandRequest& Add(uint32_t word);
    WaylandRequest& Add(const std::string& text);
    /// With the length filled in.
    const std::string& Bytes();

private:
    const uint16_t opcode_;
    std::string bytes_;
};

/// The arguments of an event. What is read beyond the end is 0 or empty.
class WaylandArguments {
public:
    WaylandArguments(const char* data, size_t size) : data_(data), left_(size) {}
    uint32_t Word();
    std::string Text();

private:
    const char* data_;
    size_t left_;
};
