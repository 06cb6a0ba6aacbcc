#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "FakePlatform.h"
#include "model.h"
#include "scenario.h"
#include "turns.h"

/// One life of the real service on the test double, and the model beside it.
class Life {
public:
    /// What many lives saw together.
    struct Seen {
        long lives = 0;
        long steps = 0;
        long events = 0;                    ///< that the pads sent
        Turns::Microseconds time{0};        ///< that passed for the service
        std::map<std::string, long> deeds;  ///< how often it did what
        size_t fingerprint = 0;             ///< of all that it did and when: the same for the same lives
    };
    /// What was found wrong and where, if anything.
    static std::optional<std::string> Live(const Scenario& scenario, Seen& seen);

private:
    explicit Life(const Scenario& scenario);

    std::optional<std::string> LiveOn(Seen& seen);
    void Count(Seen& seen) const;
    void Prepare();
    void Start();
    void End();
    void Watch();
    void Note(const std::string& what);

    void Apply(const Step& step);
    void ApplyToPads(const Step& step);
    void ApplyToApps(const Step& step);
    void ApplyToStore(const Step& step);
    void ApplyToSettings(const Step& step);
    void Plug(int pad, int shape);
    void Send(int pad, int type, int code, int value);
    void TellSettings();

    std::optional<std::string> Compare();
    std::optional<std::string> JudgeKeys();
    std::optional<std::string> JudgeEnd();

    const Scenario& scenario_;
    Turns turns_;
    FakePlatform platform_;
    Model model_;
    std::vector<Deed> deeds_;  // the service's; guarded by the double's lock
    std::optional<int> held_;
    long events_ = 0;
    const Step* step_ = nullptr;
};
