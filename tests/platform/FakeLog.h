#pragma once

#include <cstdarg>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "CallRecorder.h"

/// One log message as it was written, and taken apart: "file: function(line) > message".
struct LogLine {
    int buffer;
    int priority;
    std::string tag;
    std::string format;
    std::string text;
    std::string where;    ///< "GamepadTimer.cpp: t_Main"
    std::string message;  ///< what stands behind the prefix
    std::string thread;
};

/// One report of the assertion routine; the file without its folders.
struct AssertReport {
    std::string expression;
    std::string file;
    int line;
};

/// Matches one report: EXPECT_THAT(platform.TakeAsserts(), ElementsAre(Asserted("pCb != NULL",
/// "CallbackHandler.cpp"))).
struct Asserted {
    Asserted(std::string what, std::string where) : expression(std::move(what)), file(std::move(where)) {}
    std::string expression;
    std::string file;
};
bool operator==(const AssertReport& report, const Asserted& wanted);
void PrintTo(const AssertReport& report, std::ostream* out);
void PrintTo(const Asserted& wanted, std::ostream* out);
void PrintTo(const LogLine& line, std::ostream* out);

/// The platform log and the assertion routine.
///
/// Strict: at the end of the test every message at DLOG_ERROR and every report must have been announced or taken.
class FakeLog {
public:
    explicit FakeLog(CallRecorder& recorder) : recorder_(recorder) {}

    /// Exactly this message at this level, from this place ("GamepadTimer.cpp: t_Main") or from anywhere.
    bool Logged(int priority, const std::string& where, const std::string& message) const;
    bool Logged(int priority, const std::string& message) const { return LogCount(priority, message) > 0; }
    int LogCount(int priority, const std::string& message) const;
    std::vector<LogLine> LogLines() const;
    std::vector<std::string> LogMessages() const;
    /// True as soon as the exact message, at any level and from anywhere, stands there that often.
    bool WaitForLog(const std::string& message, int count = 1, std::chrono::milliseconds atMost = kSoon) const;
    void ForgetLog();
    /// Runs on the logging thread, before the call returns, each time the exact message was written.
    void OnMessage(const std::string& message, std::function<void()> hook);
    /// Some message begins so. The recorder's lock must be held.
    bool SaidLocked(const std::string& beginning) const;

    void ExpectError(const std::string& part);  ///< must come at least once; announces all errors that contain it
    void AllowError(const std::string& part);   ///< may come
    void AllowErrors() { AllowError(""); }
    std::vector<std::string> TakeErrors();  ///< the unannounced errors so far; from now on they count as announced

    std::vector<AssertReport> TakeAsserts();
    void AllowAsserts();
    bool WaitForAsserts(size_t count, std::chrono::milliseconds atMost = kSoon) const;

    int OnLog(int buffer, int priority, const char* tag, const char* format, va_list arguments);
    void OnAssert(const char* expression, const char* file, int line);

protected:
    void JudgeLog();

private:
    bool AnnouncedLocked(const LogLine& line) const;

    CallRecorder& recorder_;
    std::vector<LogLine> lines_;
    std::map<std::string, std::function<void()>> hooks_;
    size_t errorsTaken_ = 0;  ///< errors before this line count as announced
    std::vector<std::string> expected_;
    std::vector<std::string> allowed_;
    std::vector<std::string> fulfilled_;
    std::vector<AssertReport> asserts_;
    bool assertsAllowed_ = false;
};
