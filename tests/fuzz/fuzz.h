/// What the fuzz targets share. A target is one function that takes any bytes and, for the same bytes, does the same
/// each time. What must hold whatever it is given is said with Require.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

/// The target. Each program has one; the fuzzer calls it with what it has thought of, the replay with a file's content.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the program with a message when the condition does not hold.
void Require(bool condition, const char* what);

/// The bytes of one run, taken from the front as numbers and texts. At the end numbers are 0 and texts empty.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    bool IsEmpty() const { return left_ == 0; }
    void Fill(void* bytes, std::size_t size);  ///< what is missing is 0

    template <typename Number>
    Number Take() {
        static_assert(std::is_trivially_copyable_v<Number>);
        Number number{};
        Fill(&number, sizeof number);
        return number;
    }
    std::uint8_t Byte() { return Take<std::uint8_t>(); }
    int Int() { return Take<std::int32_t>(); }
    bool Flag() { return (Byte() & 1U) != 0; }
    /// One byte or two with the length, then the text itself.
    std::string Text() { return Take(Byte()); }
    std::string LongText() { return Take(Take<std::uint16_t>()); }
    std::string Rest() { return Take(left_); }

private:
    std::string Take(std::size_t length);

    const std::uint8_t* data_;
    std::size_t left_;
};

/// A folder of this process, gone with it. Not for files that hold anything of value.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::string& Path() const { return path_; }
    /// The path of the file, which has this content now; folders above it are made.
    std::string Write(const std::string& name, const std::string& content) const;

private:
    std::string path_;
};

/// The environment variable for the rest of the process.
void Set(const char* variable, const std::string& value);

}  // namespace fuzz
