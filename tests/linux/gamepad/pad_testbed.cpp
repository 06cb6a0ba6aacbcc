#include "pad_testbed.h"

#include <linux/input.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "gamepad/udevd.h"

namespace {

std::atomic<bool> g_udevd_runs{true};
std::atomic<bool> g_reads_fail{false};

bool IsCharacterDevice(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 && S_ISCHR(status.st_mode);
}

std::string Hex(const void* data, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02X", static_cast<const unsigned char*>(data)[i]);
        text += digits.data();
    }
    return text;
}

template <std::size_t Size>
std::string Bits(const std::vector<unsigned>& codes) {
    std::array<unsigned char, Size> bytes{};
    for (const unsigned code : codes) {
        bytes.at(code / 8) |= static_cast<unsigned char>(1U << (code % 8));
    }
    return std::to_string(Size) + " " + Hex(bytes.data(), Size) + "\n";
}

std::string TextAnswer(const std::string& request, const std::string& text) {
    constexpr std::size_t kLongest = 255;
    std::array<char, kLongest> bytes{};
    text.copy(bytes.data(), kLongest - 1);
    return text.empty() ? ""
                        : request + "(0) " + std::to_string(std::min(text.size() + 1, kLongest)) + " " +
                              Hex(bytes.data(), bytes.size()) + "\n";
}

std::string Numbered(const std::string& request, unsigned number) {
    return number == 0 ? request + " " : request + "(" + std::to_string(number) + ") ";
}

std::string AxisAnswers(const PadModel& model) {
    std::string text;
    for (const ModelAxis& axis : model.axes) {
        const input_absinfo info{axis.value, axis.minimum, axis.maximum, axis.fuzz, axis.flat, 0};
        text += Numbered("EVIOCGABS", axis.code) + "0 " + Hex(&info, sizeof info) + "\n";
    }
    return text;
}

std::string AxisBits(const PadModel& model) {
    std::vector<unsigned> codes;
    for (const ModelAxis& axis : model.axes) {
        codes.push_back(axis.code);
    }
    return Bits<8>(codes);
}

/// In the words of umockdev's own recordings.
std::string Answers(const std::string& node, const PadModel& model) {
    const input_id id{static_cast<unsigned short>(model.bus), static_cast<unsigned short>(model.vendor),
                      static_cast<unsigned short>(model.product), static_cast<unsigned short>(model.version)};
    const int version = EV_VERSION;
    return "@DEV " + node + "\nEVIOCGVERSION 0 " + Hex(&version, sizeof version) + "\nEVIOCGID 0 " +
           Hex(&id, sizeof id) + "\n" + TextAnswer("EVIOCGNAME", model.name) + TextAnswer("EVIOCGPHYS", model.phys) +
           TextAnswer("EVIOCGUNIQ", model.uniq) + "EVIOCGPROP(0) " + Bits<8>(model.properties) + "EVIOCGBIT(0) " +
           Bits<8>({EV_SYN, EV_KEY, EV_REL, EV_ABS}) + "EVIOCGBIT(1) " + Bits<96>(model.keys) + "EVIOCGBIT(2) " +
           Bits<8>(model.relative) + "EVIOCGBIT(3) " + AxisBits(model) + "EVIOCGBIT(4) " + Bits<8>({}) +
           "EVIOCGBIT(5) " + Bits<8>({}) + "EVIOCGBIT(17) " + Bits<8>({}) + "EVIOCGBIT(18) " + Bits<8>({}) +
           "EVIOCGBIT(21) " + Bits<16>({}) + "EVIOCGKEY(0) " + Bits<96>(model.held) + "EVIOCGLED(0) " + Bits<8>({}) +
           "EVIOCGSW(0) " + Bits<8>({}) + AxisAnswers(model);
}

constexpr const char* kNodeFolder = "/dev/input";

std::string NodeOf(int node) {
    return std::string(kNodeFolder) + "/event" + std::to_string(node);
}

void Check(gboolean success, GError* error) {
    if (success == FALSE) {
        throw std::runtime_error(error == nullptr ? "umockdev failed" : error->message);
    }
}

}  // namespace

void SetUdevdRuns(bool runs) {
    g_udevd_runs = runs;
}
void SetReadsFailAsUnplugged(bool fail) {
    g_reads_fail = fail;
}

/// Stands in for the library's own answer.
bool gamepad::UdevdRuns() {
    return g_udevd_runs;
}

/// Comes before the C library's for everything in this program, libevdev included. umockdev cannot unplug a device
/// under an open descriptor: reads go on with -EAGAIN there.
extern "C" ssize_t read(int fd, void* buffer, size_t size) {
    if (g_reads_fail && IsCharacterDevice(fd)) {
        errno = ENODEV;
        return -1;
    }
    return syscall(SYS_read, fd, buffer, size);
}

/// The testbed's threads synchronise inside libraries that no sanitizer sees into. Nothing of the code under test is
/// excepted.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "called_from_lib:libumockdev.so.0\n"
           "called_from_lib:libglib-2.0.so.0\n"
           "called_from_lib:libgobject-2.0.so.0\n"
           "called_from_lib:libgio-2.0.so.0\n"
           "called_from_lib:libudev.so.1\n"
           "race:libumockdev-preload.so.0\n";
}

/// umockdev redirects only what exists in the testbed, and takes a folder away with its last node: something else in it
/// keeps this machine's own folder out of the tests.
PadTestbed::PadTestbed() : testbed_(umockdev_testbed_new()) {
    std::filesystem::create_directories(InTestbed(std::string(kNodeFolder) + "/by-path"));
}

PadTestbed::~PadTestbed() {
    g_object_unref(testbed_);
}

std::string PadTestbed::InTestbed(const std::string& path) const {
    gchar* root = umockdev_testbed_get_root_dir(testbed_);
    std::string inside = root + path;
    g_free(root);
    return inside;
}

std::string PadTestbed::SyspathOf(int node) const {
    return "/devices/virtual/input/input" + std::to_string(connections_.at(node)) + "/event" + std::to_string(node);
}

void PadTestbed::LoadAnswers(int node, const PadModel& model) {
    const std::string file = InTestbed("/pad.ioctl");
    std::ofstream(file) << Answers(NodeOf(node), model);
    unlink(InTestbed("/ioctl" + NodeOf(node)).c_str());  // of the device that had this node before
    GError* error = nullptr;
    Check(umockdev_testbed_load_ioctl(testbed_, nullptr, file.c_str(), &error), error);
}

/// umockdev makes a node only once, so one that is used again is put back by hand. It appears before the udev event, as
/// from a kernel; where nobody waits for that, after everything that the watcher will look at.
void PadTestbed::Plug(int node, const PadModel& model, const std::string& extra) {
    connections_[node] = next_connection_++;
    LoadAnswers(node, model);
    const bool is_new = terminals_.count(node) == 0;
    if (!is_new && g_udevd_runs) {
        PutBack(node);
    }
    const std::string minor = std::to_string(64 + node);
    const std::string text = "P: " + SyspathOf(node) + "\n" +
                             (is_new ? "N: input/event" + std::to_string(node) + "\n" : "") +
                             "E: SUBSYSTEM=input\nE: DEVNAME=" + NodeOf(node) + "\nE: MAJOR=13\nE: MINOR=" + minor +
                             "\n" + extra + "A: dev=13:" + minor + "\n";
    GError* error = nullptr;
    Check(umockdev_testbed_add_from_string(testbed_, text.c_str(), &error), error);
    if (!is_new && !g_udevd_runs) {
        PutBack(node);
    }
}

void PadTestbed::PutBack(int node) {
    std::filesystem::create_symlink(terminals_.at(node), InTestbed(NodeOf(node)));
}

/// The notice goes out first: afterwards umockdev does not know the device any more.
void PadTestbed::Unplug(int node) {
    terminals_[node] = std::filesystem::read_symlink(InTestbed(NodeOf(node)));
    const std::string syspath = "/sys" + SyspathOf(node);
    umockdev_testbed_uevent(testbed_, syspath.c_str(), "remove");
    umockdev_testbed_remove_device(testbed_, syspath.c_str());
    connections_.erase(node);
}

void PadTestbed::SendRaw(int node, int type, int code, int value) {
    input_event event{};
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    event.input_event_sec = now.tv_sec;
    event.input_event_usec = now.tv_nsec / 1000;
    event.type = static_cast<__u16>(type);
    event.code = static_cast<__u16>(code);
    event.value = value;
    const int fd = umockdev_testbed_get_dev_fd(testbed_, NodeOf(node).c_str());
    if (write(fd, &event, sizeof event) != sizeof event) {
        throw std::runtime_error(std::strerror(errno));
    }
}

void PadTestbed::Send(int node, int type, int code, int value) {
    SendRaw(node, type, code, value);
    SendRaw(node, EV_SYN, SYN_REPORT, 0);
}
