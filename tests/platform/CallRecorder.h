#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// How long a test waits for something that must happen; long enough for a loaded machine and a sanitizer.
constexpr std::chrono::milliseconds kSoon{60000};

/// One call of a platform function, with its arguments as text: numbers as they are, texts in quotes, NULL as "null",
/// callbacks and other addresses as "ptr".
struct Call {
    std::string function;
    std::vector<std::string> arguments;
    std::string thread;  ///< the calling thread's name
    pid_t tid;           ///< and its kernel id

    std::string Text() const;  ///< e.g. VirtualKey_Send_KeyCode(113, 1)
};

/// What a function returns when it succeeds (it then does its work) and when it was told to fail.
struct Convention {
    int success;
    int failure;
};
constexpr Convention kOneIsSuccess{1, 0};
constexpr Convention kZeroIsSuccess{0, -1};

/// Records every call of the platform, and makes calls fail as the test says.
///
/// Threads  any; one lock guards the whole double. No callback and no hook runs with it held.
/// Order    "n-th call" counts from the moment of the instruction, the next call being the first.
/// Errors   an instruction for a function that does not exist throws std::invalid_argument.
class CallRecorder {
public:
    /// Those that are recorded: all that the platform has but its log and its assertion routine.
    static const std::set<std::string>& Functions();

    void FailOn(const std::string& function, int nth = 1) { Plan(function, nth, std::nullopt); }
    void ReturnOn(const std::string& function, int nth, int value) { Plan(function, nth, value); }
    void FailAlways(const std::string& function) { Plan(function, kEveryCall, std::nullopt); }
    /// From now on the function returns this value, and does its work only if that means success.
    void Return(const std::string& function, int value) { Plan(function, kEveryCall, value); }
    void ForgetPlans(const std::string& function);
    /// Runs on the calling thread after the call was recorded and before it does anything; an empty hook removes it.
    void OnCall(const std::string& function, std::function<void(const Call&)> hook);

    std::vector<Call> Calls(const std::string& function) const;
    std::vector<std::string> CallTexts(const std::string& function) const;
    int CallCount(const std::string& function) const;
    /// Calls and log messages in one order, as text: "VirtualKey_Finalize()", "I: Enter". Without gamepad_get_events.
    std::vector<std::string> Timeline() const;
    /// The part of it that the thread of this name wrote.
    std::vector<std::string> TimelineOf(const std::string& thread) const;
    /// True as soon as the function was called that often since the double was made.
    bool WaitForCall(const std::string& function, int count = 1, std::chrono::milliseconds atMost = kSoon) const;

    /// Misuse of the platform (a second close, an unknown id, ...). What is neither taken nor allowed fails the test.
    std::vector<std::string> TakeViolations();
    void AllowViolations();

    // For the parts of the double.
    template <class Effect>
    int Run(const char* function, std::vector<std::string> arguments, Convention convention, Effect effect) {
        const std::optional<int> planned = Enter(function, std::move(arguments), convention.failure);
        if (planned && *planned != convention.success) {
            return *planned;
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        const int result = effect();
        changed_.notify_all();
        return result;
    }
    /// The same where nothing that the function needs may be null: then it is misused, and fails.
    template <class Effect>
    int RunWithAll(bool hasAll, const char* function, std::vector<std::string> arguments, Convention convention,
                   Effect effect) {
        return Run(function, std::move(arguments), convention, [&] {
            if (!hasAll) {
                ViolateLocked(std::string(function) + " without all that it needs");
            }
            return hasAll ? effect() : convention.failure;
        });
    }
    /// Records the call, runs its hook, and answers with what the test planned for it.
    std::optional<int> Enter(const char* function, std::vector<std::string> arguments, int failure);
    std::unique_lock<std::mutex> Lock() const { return std::unique_lock<std::mutex>(mutex_); }
    void Changed() const { changed_.notify_all(); }
    template <class Predicate>
    bool WaitUntil(Predicate predicate, std::chrono::milliseconds atMost) const {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, atMost, predicate);
    }
    void ViolateLocked(const std::string& what);
    void AppendToTimelineLocked(const std::string& entry);

protected:
    void JudgeCalls() const;

private:
    static constexpr int kEveryCall = 0;
    struct Moment {
        std::string text;
        std::string thread;
    };
    struct Plans {
        std::map<int, std::optional<int>> byCall;  ///< number of the call -> value, or the function's own failure
        int calls = 0;
    };

    void Plan(const std::string& function, int nth, std::optional<int> value);
    std::optional<int> PlannedLocked(const std::string& function, int failure);

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<Call> calls_;
    std::vector<Moment> timeline_;
    std::map<std::string, Plans> plans_;
    std::map<std::string, std::function<void(const Call&)>> hooks_;
    std::vector<std::string> violations_;
    bool violationsAllowed_ = false;
};

/// How arguments stand in a recorded call.
std::string ArgumentText(const char* text);
std::string ArgumentText(int number);
inline std::string PointerText(bool present) {
    return present ? "ptr" : "null";
}
