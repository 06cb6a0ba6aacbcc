#include "settings_home.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "platform/dlog.h"

namespace {

constexpr guint kDeadlineMs = 10000;
constexpr uid_t kNobody = 65534;

struct Log {
    std::mutex mutex;
    std::vector<std::string> messages;
};

Log& TheLog() {
    static Log& log = *new Log;
    return log;
}

gboolean SetFlag(gpointer flag) {
    *static_cast<bool*>(flag) = true;
    return G_SOURCE_CONTINUE;
}

}  // namespace

int __dlog_print(log_id_t /*log_id*/, int /*priority*/, const char* /*tag*/, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const std::lock_guard<std::mutex> lock(TheLog().mutex);
    TheLog().messages.emplace_back(text);
    return length;
}

std::vector<std::string> TakeMessages() {
    const std::lock_guard<std::mutex> lock(TheLog().mutex);
    return std::exchange(TheLog().messages, {});
}

bool RunLoopUntil(const std::function<bool()>& condition) {
    bool late = false;
    const guint deadline = g_timeout_add(kDeadlineMs, SetFlag, &late);
    while (!condition() && !late) {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(deadline);
    return condition();
}

int Shell(const std::string& commandLine) {
    const int status = std::system(commandLine.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

AsOrdinaryUser::AsOrdinaryUser() : before_(geteuid()) {
    if (before_ == 0) {
        EXPECT_EQ(seteuid(kNobody), 0);
    }
}

AsOrdinaryUser::~AsOrdinaryUser() {
    EXPECT_EQ(seteuid(before_), 0);
}

void Changes::Callback(keynode_t* node, void* self) {
    Changes& changes = *static_cast<Changes*>(self);
    const std::lock_guard<std::mutex> lock(changes.mutex_);
    changes.changes_.push_back({vconf_keynode_get_int(node), vconf_keynode_get_bool(node), std::this_thread::get_id()});
}

size_t Changes::Count() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return changes_.size();
}

std::vector<int> Changes::Numbers() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<int> numbers;
    for (const Change& change : changes_) {
        numbers.push_back(change.number);
    }
    return numbers;
}

Change Changes::Last() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return changes_.back();
}

void SettingsHome::SetUpTestSuite() {
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
}

void SettingsHome::SetUp() {
    // A runtime directory is in memory; so are the tests', where there is such a place.
    const std::string memory = "/dev/shm/";
    std::string name = (access(memory.c_str(), W_OK) == 0 ? memory : testing::TempDir()) + "settings-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    root_ = name;
    ASSERT_EQ(chmod(root_.c_str(), 0755), 0);
    ASSERT_EQ(mkdir(Runtime().c_str(), 0755), 0);
    setenv("XDG_RUNTIME_DIR", Runtime().c_str(), 1);
    setenv("XDG_STATE_HOME", State().c_str(), 1);
    TakeMessages();
}

void SettingsHome::TearDown() {
    EXPECT_EQ(Shell("rm -rf '" + root_ + "'"), 0);
}

std::string SettingsHome::FileOf(const std::string& key) const {
    return (key.rfind("memory/", 0) == 0 ? Runtime() : State()) + "/quorvex/" + key;
}

void SettingsHome::Put(const std::string& key, const std::string& contents) const {
    const std::string path = FileOf(key);
    ASSERT_EQ(g_mkdir_with_parents(path.substr(0, path.rfind('/')).c_str(), 0755), 0);
    std::ofstream(path, std::ios::binary) << contents;
}

std::string SettingsHome::Contents(const std::string& key) const {
    std::ostringstream contents;
    contents << std::ifstream(FileOf(key), std::ios::binary).rdbuf();
    return contents.str();
}
