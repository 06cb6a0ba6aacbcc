#include "report.h"

#include <algorithm>
#include <iterator>

#include "caught.h"
#include "look/looks.h"

namespace doctor {
namespace {

constexpr char kUinput[] = "/dev/uinput";

void Append(Report& report, Report more) {
    std::move(more.begin(), more.end(), std::back_inserter(report));
}

std::size_t Count(const Report& report, Mark mark) {
    std::size_t count = 0;
    for (const Section& section : report) {
        count += static_cast<std::size_t>(std::count_if(section.findings.begin(), section.findings.end(),
                                                        [mark](const Finding& one) { return one.mark == mark; }));
    }
    return count;
}

const char* NameOf(Mark mark) {
    return mark == Mark::kWorks ? "works" : mark == Mark::kLacks ? "lacks" : "broken";
}

const char* SignOf(Mark mark, const Style& style) {
    if (style.has_marks) {
        return mark == Mark::kWorks ? "✓ " : mark == Mark::kLacks ? "! " : "✗ ";
    }
    return mark == Mark::kWorks ? "ok " : mark == Mark::kLacks ? "!  " : "NO ";
}

std::string Coloured(const std::string& text, Mark mark, const Style& style) {
    const char* colour = mark == Mark::kWorks ? "\033[32m" : mark == Mark::kLacks ? "\033[33m" : "\033[1;31m";
    return style.has_colours ? colour + text + "\033[0m" : text;
}

constexpr std::size_t kWidth = 100;

/// Lines of at most kWidth bytes, broken behind a comma.
std::string Folded(const std::string& text, const std::string& indent) {
    static const std::string kComma = ", ";
    std::string folded;
    std::string line = indent;
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t end = std::min(text.find(kComma, from), text.size() - 1) + 1;
        const std::string part = text.substr(from, end - from);
        if (line.size() + part.size() > kWidth && line != indent) {
            folded += line + "\n";
            line = indent;
        }
        line += (line == indent ? "" : " ") + part;
        from = end + 1;
    }
    return folded + line + "\n";
}

std::string LinesOf(const Finding& finding, const Style& style) {
    std::string text = "  " + Coloured(SignOf(finding.mark, style), finding.mark, style) + finding.text + "\n";
    for (const std::string& detail : finding.details) {
        text += Folded(detail, "      ");
    }
    if (!finding.remedy.empty()) {
        text += std::string("    ") + (style.has_marks ? "→ " : "-> ") + finding.remedy + "\n";
    }
    return text;
}

std::string Sum(const Report& report) {
    const std::size_t broken = Count(report, Mark::kBroken);
    const std::size_t lacking = Count(report, Mark::kLacks);
    const std::string rest = lacking == 0 ? "." : ", " + std::to_string(lacking) + " could be better.";
    return broken == 0 ? "All that is needed works" + rest : std::to_string(broken) + " broken" + rest;
}

Json::Value JsonOf(const Finding& finding) {
    Json::Value json = finding.facts.isNull() ? Json::Value(Json::objectValue) : finding.facts;
    json["mark"] = NameOf(finding.mark);
    json["text"] = finding.text;
    if (!finding.remedy.empty()) {
        json["remedy"] = finding.remedy;
    }
    return json;
}

}  // namespace

/// The service's errors while it is asked for its keys are no findings.
Report LookAtEverything() {
    Notes notes;
    const Catching catching(notes);
    const ServiceKeys keys = AskService();
    Report report{LookAtKeys(kUinput, notes)};
    Append(report, LookAtPads(keys, notes));
    Append(report, LookAtSession(notes));
    report.push_back(LookAtSettings(notes));
    Append(report, LookAtBindings(notes));
    report.push_back(LookAtService());
    return report;
}

bool AllNeededWorks(const Report& report) {
    return Count(report, Mark::kBroken) == 0;
}

std::string AsText(const Report& report, const Style& style) {
    std::string text;
    for (const Section& section : report) {
        text += section.title + "\n";
        for (const Finding& finding : section.findings) {
            text += LinesOf(finding, style);
        }
    }
    return text + Sum(report) + "\n";
}

std::string AsJson(const Report& report) {
    Json::Value root;
    root["works"] = AllNeededWorks(report);
    root["sections"] = Json::Value(Json::arrayValue);
    for (const Section& section : report) {
        Json::Value json;
        json["name"] = section.name;
        json["findings"] = Json::Value(Json::arrayValue);
        for (const Finding& finding : section.findings) {
            json["findings"].append(JsonOf(finding));
        }
        root["sections"].append(json);
    }
    Json::StreamWriterBuilder writer;
    writer["emitUTF8"] = true;
    writer["indentation"] = "  ";
    return Json::writeString(writer, root) + "\n";
}

}  // namespace doctor
