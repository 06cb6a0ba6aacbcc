#include "FakeLog.h"

#include <gtest/gtest.h>
#include <platform/dlog.h>
#include <pthread.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

constexpr char kPrefix[] = "%s: %s(%d) > ";

std::string Format(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(static_cast<size_t>(std::max(length, 0)) + 1, '\0');
    vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// Takes "file: function(line) > message" apart; false when the text does not look like that.
bool Split(LogLine& line) {
    const size_t arrow = line.text.find(") > ");
    const size_t bracket = line.text.rfind('(', arrow);
    if (line.format.rfind(kPrefix, 0) != 0 || arrow == std::string::npos || bracket == std::string::npos) {
        return false;
    }
    line.where = line.text.substr(0, bracket);
    line.message = line.text.substr(arrow + 4);
    return true;
}

std::string BaseName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::string TimelineEntry(const LogLine& line) {
    const char* level = line.priority == DLOG_ERROR ? "E: " : line.priority == DLOG_DEBUG ? "D: " : "I: ";
    return level + line.message;
}

}  // namespace

bool operator==(const AssertReport& report, const Asserted& wanted) {
    return report.expression == wanted.expression && report.file == wanted.file;
}
void PrintTo(const AssertReport& report, std::ostream* out) {
    *out << '"' << report.expression << "\" in " << report.file << ':' << report.line;
}
void PrintTo(const Asserted& wanted, std::ostream* out) {
    *out << '"' << wanted.expression << "\" in " << wanted.file;
}
void PrintTo(const LogLine& line, std::ostream* out) {
    *out << line.priority << ' ' << line.text;
}

int FakeLog::OnLog(int buffer, int priority, const char* tag, const char* format, va_list arguments) {
    char thread[16] = {};
    pthread_getname_np(pthread_self(), thread, sizeof thread);
    LogLine line{buffer, priority, tag, format, Format(format, arguments), "", "", thread};
    const bool well_formed = Split(line);
    auto lock = recorder_.Lock();
    if (!well_formed || line.tag != "QVXD") {
        recorder_.ViolateLocked("a log message without the prefix or the tag: " + line.tag + " " + line.text);
    }
    recorder_.AppendToTimelineLocked(TimelineEntry(line));
    const auto found = hooks_.find(line.message);
    const std::function<void()> hook = found == hooks_.end() ? nullptr : found->second;
    lines_.push_back(std::move(line));
    recorder_.Changed();
    lock.unlock();
    if (hook) {
        hook();
    }
    return 0;
}

void FakeLog::OnMessage(const std::string& message, std::function<void()> hook) {
    const auto lock = recorder_.Lock();
    hooks_[message] = std::move(hook);
}

void FakeLog::OnAssert(const char* expression, const char* file, int line) {
    const auto lock = recorder_.Lock();
    asserts_.push_back({expression, BaseName(file), line});
    recorder_.AppendToTimelineLocked("_ASSERT: " + std::string(expression));
    recorder_.Changed();
}

bool FakeLog::Logged(int priority, const std::string& where, const std::string& message) const {
    const auto lock = recorder_.Lock();
    return std::any_of(lines_.begin(), lines_.end(), [&](const LogLine& line) {
        return line.priority == priority && line.where == where && line.message == message;
    });
}

int FakeLog::LogCount(int priority, const std::string& message) const {
    const auto lock = recorder_.Lock();
    return static_cast<int>(std::count_if(lines_.begin(), lines_.end(), [&](const LogLine& line) {
        return line.priority == priority && line.message == message;
    }));
}

std::vector<LogLine> FakeLog::LogLines() const {
    const auto lock = recorder_.Lock();
    return lines_;
}

std::vector<std::string> FakeLog::LogMessages() const {
    std::vector<std::string> messages;
    for (const LogLine& line : LogLines()) {
        messages.push_back(line.message);
    }
    return messages;
}

bool FakeLog::WaitForLog(const std::string& message, int count, std::chrono::milliseconds atMost) const {
    const auto often_enough = [&] {
        return std::count_if(lines_.begin(), lines_.end(),
                             [&](const LogLine& line) { return line.message == message; }) >= count;
    };
    return recorder_.WaitUntil(often_enough, atMost);
}

bool FakeLog::SaidLocked(const std::string& beginning) const {
    return std::any_of(lines_.begin(), lines_.end(),
                       [&](const LogLine& line) { return line.message.rfind(beginning, 0) == 0; });
}

void FakeLog::ForgetLog() {
    const auto unannounced = TakeErrors();
    EXPECT_TRUE(unannounced.empty()) << "forgotten: " << testing::PrintToString(unannounced);
    const auto lock = recorder_.Lock();
    lines_.clear();
    errorsTaken_ = 0;
}

void FakeLog::ExpectError(const std::string& part) {
    const auto lock = recorder_.Lock();
    expected_.push_back(part);
}

void FakeLog::AllowError(const std::string& part) {
    const auto lock = recorder_.Lock();
    allowed_.push_back(part);
}

bool FakeLog::AnnouncedLocked(const LogLine& line) const {
    const auto in_line = [&](const std::string& part) { return Contains(line.message, part); };
    return std::any_of(expected_.begin(), expected_.end(), in_line) ||
           std::any_of(allowed_.begin(), allowed_.end(), in_line);
}

std::vector<std::string> FakeLog::TakeErrors() {
    const auto lock = recorder_.Lock();
    std::vector<std::string> errors;
    for (; errorsTaken_ < lines_.size(); ++errorsTaken_) {
        const LogLine& line = lines_[errorsTaken_];
        for (const std::string& part : expected_) {
            if (line.priority == DLOG_ERROR && Contains(line.message, part)) {
                fulfilled_.push_back(part);
            }
        }
        if (line.priority == DLOG_ERROR && !AnnouncedLocked(line)) {
            errors.push_back(line.message);
        }
    }
    return errors;
}

std::vector<AssertReport> FakeLog::TakeAsserts() {
    const auto lock = recorder_.Lock();
    return std::exchange(asserts_, {});
}

void FakeLog::AllowAsserts() {
    const auto lock = recorder_.Lock();
    assertsAllowed_ = true;
}

bool FakeLog::WaitForAsserts(size_t count, std::chrono::milliseconds atMost) const {
    return recorder_.WaitUntil([&] { return asserts_.size() >= count; }, atMost);
}

void FakeLog::JudgeLog() {
    const auto errors = TakeErrors();
    EXPECT_TRUE(errors.empty()) << "errors that no one announced: " << testing::PrintToString(errors);
    const auto lock = recorder_.Lock();
    for (const std::string& part : expected_) {
        EXPECT_NE(std::find(fulfilled_.begin(), fulfilled_.end(), part), fulfilled_.end())
            << "an announced error never came: " << part;
    }
    EXPECT_TRUE(assertsAllowed_ || asserts_.empty()) << "misuse reported: " << testing::PrintToString(asserts_);
}
