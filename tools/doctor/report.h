/// The whole report, and its two forms.
#pragma once

#include <string>

#include "finding.h"

namespace doctor {

/// All looks, one after the other.
Report LookAtEverything();

/// Whether nothing that is needed is broken.
bool AllNeededWorks(const Report& report);

struct Style {
    bool has_marks = true;  ///< the terminal shows other characters than ASCII
    bool has_colours = false;
};

/// A heading for each section and a line for each finding, with a mark before it and the remedy below it.
std::string AsText(const Report& report, const Style& style);

/// {"works": bool, "sections": [{"name", "findings": [{"mark": "works|lacks|broken", "text", "remedy", ...}]}]}
std::string AsJson(const Report& report);

}  // namespace doctor
