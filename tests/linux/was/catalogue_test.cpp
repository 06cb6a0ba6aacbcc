// Applications that can be installed, looked up by the real program in catalogues of the test's own.

#include <chrono>
#include <ctime>
#include <thread>

#include "answers.h"
#include "store_home.h"

namespace {

constexpr char kStar[] = "<launchable type=\"desktop-id\">star.desktop</launchable>";

class KnownApplications : public StoreHome {
protected:
    void Offer(const std::string& components, const std::string& file = "here.xml") const {
        WriteFile(InSystem("swcatalog/xml/" + file), Catalogue(components));
    }
    void Expect(const std::string& title, int status, const std::string& id) {
        const StoreAnswer answer = Ask(title);
        EXPECT_EQ(answer.status, status) << title;
        EXPECT_EQ(answer.appId, id) << title;
        EXPECT_NE(answer.etag, "");
    }
};

TEST_F(KnownApplications, AreNotInstalledButHaveAnId) {
    Offer(Component("org.example.Star", "Starfall Racer", kStar) +
          Component("org.example.Web", "Web Racer", "", "web-application"));
    Expect("starfall  RACER", 1, "star.desktop");
    Expect("Web Racer", 1, "org.example.Web");
    Expect("Starfall", 1, "");
}

TEST_F(KnownApplications, AreInstalledWhenThereIsTheirDesktopEntry) {
    Offer(Component("org.example.Star", "Starfall Racer Deluxe", kStar));
    Expect("Starfall Racer Deluxe", 1, "star.desktop");
    Install("star.desktop", "Starfall");
    Expect("Starfall Racer Deluxe", 0, "star.desktop");
    Expect("Starfall", 0, "star.desktop");
}

TEST_F(KnownApplications, AreKnownByTheNameInTheUsersLanguageAndTheUntranslatedOne) {
    Offer(Component(
        "org.example.Star", "Starfall Racer",
        std::string(kStar) + "<name xml:lang=\"de\">Sternenflitzer</name><name xml:lang=\"fr\">Étoiles</name>"));
    Expect("Sternenflitzer", 1, "");
    SetLanguage("de");
    Expect("Sternenflitzer", 1, "star.desktop");
    Expect("Starfall Racer", 1, "star.desktop");
    Expect("Étoiles", 1, "");
}

TEST_F(KnownApplications, AreApplicationsOnly) {
    Offer(Component("org.example.Font", "Some Font", "", "font") +
          Component("org.example.Lib", "Some Library", "", "generic"));
    Expect("Some Font", 1, "");
    Expect("Some Library", 1, "");
}

TEST_F(KnownApplications, MayBeInAnyCatalogueOfTheDataDirectories) {
    WriteFile(InHome("swcatalog/xml/mine.xml"), Catalogue(Component("org.example.Mine", "My Racer")));
    WriteFile(
        InSystem("swcatalog/yaml/theirs.yml"),
        "---\nFile: DEP-11\nVersion: '0.16'\nOrigin: theirs\n---\nType: desktop-application\nID: org.example.Theirs\n"
        "Package: theirs\nName:\n  C: Their Racer\nSummary:\n  C: One of them\n");
    Expect("My Racer", 1, "org.example.Mine");
    Expect("Their Racer", 1, "org.example.Theirs");
}

TEST_F(KnownApplications, OfOneNameAreAnsweredByTheFirstId) {
    Offer(Component("org.example.C", "Racer") + Component("org.example.A", "Racer") +
          Component("org.example.B", "Racer"));
    Expect("Racer", 1, "org.example.A");
}

TEST_F(KnownApplications, AreFoundBesideBrokenCatalogues) {
    WriteFile(InSystem("swcatalog/xml/a.xml"), "<components version=\"0.16\"><component><id>x");
    WriteFile(InSystem("swcatalog/xml/b.xml.gz"), "\x1f\x8bnot really");
    WriteFile(InSystem("swcatalog/yaml/c.yml"), "---\nFile: DEP-11\n bad: [\n");
    Offer(Component("org.example.Star", "Starfall Racer", kStar), "z.xml");
    Expect("Starfall Racer", 1, "star.desktop");
    Expect("Starfall", 1, "");
}

// What a look-up keeps for the next one has its time in seconds.
void WaitForAnotherSecond() {
    const time_t before = time(nullptr);
    while (time(nullptr) < before + 2) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

TEST_F(KnownApplications, AreSeenAsSoonAsTheCatalogueHasThem) {
    Offer(Component("org.example.Other", "Other"));
    Expect("Starfall Racer", 1, "");
    WaitForAnotherSecond();
    Offer(Component("org.example.Star", "Starfall Racer", kStar), "new.xml");
    Expect("Starfall Racer", 1, "star.desktop");
}

TEST_F(KnownApplications, MayBeThousands) {
    std::string components;
    for (int i = 0; i < 3000; ++i) {
        const std::string number = std::to_string(i);
        components += Component("org.example.n" + number, "Number " + number);
    }
    Offer(components);
    Expect("Number 0", 1, "org.example.n0");
    Expect("NUMBER 2999", 1, "org.example.n2999");
    Expect("Number 3000", 1, "");
}

}  // namespace
