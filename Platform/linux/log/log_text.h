/// The text of one log line, safe to show on a terminal.
#pragma once

#include <cstddef>

/// Collects text in a buffer of fixed size, on one line whatever it is given: control characters and bytes that are no
/// UTF-8 appear as escapes (\n, \x1b, \xff). Text that does not fit is cut between two characters and ends in " [cut]".
/// No allocation, no lock.
class LogText {
public:
    /// Well below PIPE_BUF, so that a line goes into a pipe whole or not at all.
    static constexpr size_t kCapacity = 2048;

    /// Appends length bytes. Once cut, a text stays as it is.
    void Append(const char* text, size_t length);
    void Append(const char* text);

    /// Ends the line; nothing can be appended after it.
    void EndLine();

    const char* Data() const { return data_; }
    size_t Size() const { return size_; }

private:
    void AppendByte(unsigned char byte);
    void Put(const char* bytes, size_t count);

    char data_[kCapacity];
    size_t size_ = 0;
    bool cut_ = false;
};
