/// The application status signals of the platform, as a test hears them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "../games/told.h"
#include "platform/aul.h"

constexpr int kShown = 3;
constexpr int kFocus = 5;
constexpr int kHidden = 7;
constexpr int kFocused = 2;

using Signal = std::pair<int, int>;  ///< process, status

/// Listens from Listen to Stop or the end of this object.
class Heard {
public:
    ~Heard() { Stop(); }

    void Listen() { EXPECT_EQ(aul_listen_app_status_signal(Add, this), 0); }
    static void Stop() { EXPECT_EQ(aul_listen_app_status_signal(nullptr, nullptr), 0); }
    bool WaitFor(int pid, int status) { return told_.WaitFor({pid, status}); }
    bool WaitForAll(const std::vector<Signal>& signals) { return told_.WaitForAll(signals); }
    std::vector<Signal> All() const { return told_.All(); }
    void Forget() { told_.Forget(); }

private:
    static int Add(int pid, int status, void* self) {
        static_cast<Heard*>(self)->told_.Add({pid, status});
        return 0;
    }

    Told<Signal> told_;
};

inline std::string IdOf(int pid) {
    char id[256] = "untouched";
    const int result = aul_app_get_appid_bypid(pid, id, sizeof id);
    EXPECT_EQ(result == 0, id[0] != '\0');
    return id;
}
