#include "settings/complaints.h"

void Complaints::Tell(const Problem& problem) {
    const Hold lock(mutex_);
    std::string& told = told_[problem.about];
    if (told != problem.text) {
        told = problem.text;
        sink_(problem.text);
    }
}

void Complaints::Over(const std::string& about) {
    const Hold lock(mutex_);
    told_.erase(about);
}

void Complaints::Note(const Reading& reading) {
    if (reading.problem) {
        Tell(*reading.problem);
    } else {
        Over(reading.path);
    }
}
