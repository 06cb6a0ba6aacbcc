// What works here and what does not, for whoever wants the pad to drive the menus.

#include <langinfo.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "report.h"
#include "watch/watch.h"

namespace {

enum ExitStatus { kWorks = 0, kBroken = 1, kMisused = 2 };

constexpr char kHelp[] =
    R"(Usage: quorvex-doctor           say what works on this machine, and how to mend what does not
       quorvex-doctor --json    the same for programs
       quorvex-doctor --watch   show what the service makes of each event of the pads; q ends it
       quorvex-doctor --help

Run it as the user and in the session that the service runs for. It changes nothing and takes nothing away from
a service or a game that runs.

Exit status: 0 all that is needed works, 1 something that is needed does not, 2 used wrongly.
)";

ExitStatus Print(const std::string& text) {
    const bool is_printed = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    return is_printed ? kWorks : kMisused;
}

ExitStatus PrintReport(bool as_json) {
    const doctor::Report report = doctor::LookAtEverything();
    const doctor::Style style{std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0, isatty(STDOUT_FILENO) == 1};
    const ExitStatus printed = Print(as_json ? doctor::AsJson(report) : doctor::AsText(report, style));
    return printed != kWorks ? printed : doctor::AllNeededWorks(report) ? kWorks : kBroken;
}

ExitStatus Watch() {
    const std::string problem = doctor::Watch();
    if (!problem.empty()) {
        std::fprintf(stderr, "quorvex-doctor: %s\n", problem.c_str());
    }
    return problem.empty() ? kWorks : kBroken;
}

ExitStatus Run(int count, char** arguments) {
    const std::string word = count > 1 ? arguments[1] : "";
    if (count > 2 || (!word.empty() && word != "--json" && word != "--watch" && word != "--help" && word != "-h")) {
        std::fprintf(stderr, "quorvex-doctor: what is \"%s\"? See quorvex-doctor --help\n", arguments[count - 1]);
        return kMisused;
    }
    if (word == "--help" || word == "-h") {
        return Print(kHelp);
    }
    return word == "--watch" ? Watch() : PrintReport(word == "--json");
}

}  // namespace

int main(int count, char** arguments) try {
    std::setlocale(LC_ALL, "");
    return Run(count, arguments);
} catch (const std::exception& error) {
    std::fprintf(stderr, "quorvex-doctor: %s\n", error.what());
    return kBroken;
}
