// A long life: deeds in random order, round after round, and what the service has of the machine after each.
//
// QUORVEX_SOAK_MINUTES of the machine's time, 2 if unset; QUORVEX_SEED repeats an evening.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "household.h"

namespace {

// Of the heap's own order: what is freed need not be given back.
constexpr long kSlackKiB = 256;

// What a deed has left behind may end a little later.
constexpr std::chrono::seconds kUntilAllIsQuiet{5};

struct Figures {
    size_t descriptors;
    size_t threads;
    long kiB;  ///< of memory that no file backs
};

std::ostream& operator<<(std::ostream& out, const Figures& figures) {
    return out << figures.descriptors << " descriptors, " << figures.threads << " threads, " << figures.kiB << " KiB";
}

// Page by page: what the kernel tells of the whole process is behind by up to 63 pages for each thread.
long AnonymousKiB(pid_t pid) {
    std::ifstream sums("/proc/" + std::to_string(pid) + "/smaps_rollup");
    for (std::string line; std::getline(sums, line);) {
        if (line.rfind("Anonymous:", 0) == 0) {
            return std::stol(line.substr(line.find_first_of("0123456789")));
        }
    }
    return -1;
}

int FromEnvironment(const char* name, int otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr && *text != '\0' ? std::atoi(text) : otherwise;
}

class Soak : public Household {
protected:
    void SetUp() override {
        const int seed = FromEnvironment("QUORVEX_SEED", static_cast<int>(std::random_device()() % 1000000));
        Say("seed " + std::to_string(seed));
        random_.seed(static_cast<unsigned>(seed));
        Household::SetUp();
    }

    void GoThroughARound() {
        std::vector<NamedDeed> deeds = kEveryday;
        deeds.insert(deeds.end(), kRare.begin(), kRare.end());
        std::shuffle(deeds.begin(), deeds.end(), random_);
        for (const NamedDeed& deed : deeds) {
            Do(deed);
            UseAPad();
            ASSERT_FALSE(HasFailure()) << deed.what;
        }
        Rest();
        std::this_thread::sleep_for(kUntilAllIsQuiet);
        ASSERT_FALSE(HasFailure());
    }

    Figures Measure() const {
        return {service_->OpenFiles().size(), service_->Threads(), AnonymousKiB(service_->Pid())};
    }

    void ExpectNoMoreThan(const Figures& first) {
        const Figures now = Measure();
        EXPECT_EQ(now.descriptors, first.descriptors) << testing::PrintToString(service_->OpenFiles());
        EXPECT_EQ(now.threads, first.threads);
        EXPECT_LE(now.kiB, first.kiB + kSlackKiB);
    }

    void Report(int round) {
        std::ostringstream text;
        text << "round " << round << ": " << Measure() << ", " << arrived_ << " of " << owed_ << " presses arrived";
        Say(text.str());
    }
};

TEST_F(Soak, StaysAsItIs) {
    const auto end = Clock::now() + std::chrono::minutes(FromEnvironment("QUORVEX_SOAK_MINUTES", 2));
    UseEverythingOnce();
    GoThroughARound();
    ASSERT_FALSE(HasFailure());
    const Figures first = Measure();
    Report(1);
    for (int round = 2; round == 2 || Clock::now() < end; ++round) {
        GoThroughARound();
        ASSERT_FALSE(HasFailure());
        ExpectNoMoreThan(first);
        Report(round);
    }
    EXPECT_EQ(arrived_, owed_);
}

}  // namespace
