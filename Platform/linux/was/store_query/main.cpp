// quorvex-store-query TITLE
//
// Looks an application up by its title and prints three texts, each followed by a 0: the status (0 installed, 1 not
// installed or not known, 2 not known because of an error), the application's id (empty when it is not known), and a
// tag that changes with the applications and catalogues of this machine. Errors are told on the error output.

#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <exception>
#include <string>

#include "catalogue.h"
#include "entries.h"
#include "state.h"
#include "title.h"

namespace {

constexpr unsigned kLifeSeconds = 30;  // of a process that nobody waits for any more

enum Status { kInstalled = 0, kNotInstalled = 1, kError = 2 };

struct Answer {
    Status status;
    std::string id;
};

// What the catalogue has under another name than the desktop entry is installed all the same.
Answer LookUp(const Title& title) {
    std::string id = InstalledEntry(title);
    if (!id.empty()) {
        return {kInstalled, id};
    }
    id = CatalogueEntry(title);
    return {IsInstalled(id) ? kInstalled : kNotInstalled, id};
}

Answer AnswerTo(const char* text) {
    try {
        return LookUp(Title(text));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quorvex-store-query: %s\n", error.what());
        return {kError, ""};
    }
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: quorvex-store-query TITLE\n");
        return 2;
    }
    alarm(kLifeSeconds);
    std::setlocale(LC_ALL, "");
    const Answer answer = AnswerTo(arguments[1]);
    std::printf("%d%c%s%c%s%c", answer.status, '\0', answer.id.c_str(), '\0', StateTag().c_str(), '\0');
    // At once: nothing is worth tidying up, and AppStream does not give back all that a broken catalogue costs.
    _exit(std::fflush(stdout) == 0 ? 0 : 2);
}
