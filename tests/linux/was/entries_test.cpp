// Installed applications, looked up by the real program in real desktop entries.

#include <chrono>
#include <filesystem>

#include "answers.h"
#include "store_home.h"

namespace {

class InstalledApplications : public StoreHome {
protected:
    void ExpectInstalled(const std::string& title, const std::string& id) {
        const StoreAnswer answer = Ask(title);
        EXPECT_EQ(answer.status, 0) << title;
        EXPECT_EQ(answer.appId, id) << title;
    }
    void ExpectUnknown(const std::string& title) {
        const StoreAnswer answer = Ask(title);
        EXPECT_EQ(answer.status, 1) << title;
        EXPECT_EQ(answer.appId, "") << title;
    }
};

TEST_F(InstalledApplications, AreFoundByTheirNameHoweverItIsTyped) {
    Install("org.example.Starfall.desktop", "Starfall Racer");
    Install("org.example.Other.desktop", "Starfall Racer 2");
    for (const char* const title : {"Starfall Racer", "STARFALL racer", "  Starfall   Racer "}) {
        ExpectInstalled(title, "org.example.Starfall.desktop");
    }
    for (const char* const title : {"Starfall", "Racer", "Starfall Racer 3", " ", "\xff", "--help", "$(true)"}) {
        ExpectUnknown(title);
    }
}

TEST_F(InstalledApplications, AreFoundByTheNameInTheUsersLanguageAndTheUntranslatedOne) {
    Install("star.desktop", "Starfall Racer", "Name[de]=Sternenflitzer\nName[fr]=Étoiles\n");
    ExpectUnknown("Sternenflitzer");
    SetLanguage("de");
    ExpectInstalled("Sternenflitzer", "star.desktop");
    ExpectInstalled("Starfall Racer", "star.desktop");
    ExpectUnknown("Étoiles");
    SetLanguage("fr");
    ExpectInstalled("étoiles", "star.desktop");
}

TEST_F(InstalledApplications, OfTheUserComeBeforeThoseOfTheSystem) {
    Install("star.desktop", "Starfall Racer");
    WriteFile(InHome("applications/star.desktop"), Entry("My Racer"));
    ExpectInstalled("My Racer", "star.desktop");
    ExpectUnknown("Starfall Racer");
}

TEST_F(InstalledApplications, MayBeInFoldersBelow) {
    WriteFile(InSystem("applications/games/star.desktop"), Entry("Starfall Racer"));
    ExpectInstalled("Starfall Racer", "games-star.desktop");
}

TEST_F(InstalledApplications, CanBeLeftOutOfMenus) {
    Install("star.desktop", "Starfall Racer", "NoDisplay=true\n");
    ExpectInstalled("Starfall Racer", "star.desktop");
}

TEST_F(InstalledApplications, AreNotThoseThatWereDeletedOrWhoseProgramIsMissing) {
    Install("hidden.desktop", "Hidden One", "Hidden=true\n");
    Install("gone.desktop", "Gone One", "TryExec=/nonexistent/program\n");
    WriteFile(InSystem("applications/noexec.desktop"),
              "[Desktop Entry]\nType=Application\nName=No One\nExec=/nonexistent\n");
    Install("user.desktop", "Users One");
    WriteFile(InHome("applications/user.desktop"), "[Desktop Entry]\nType=Application\nHidden=true\n");
    for (const char* const title : {"Hidden One", "Gone One", "No One", "Users One"}) {
        ExpectUnknown(title);
    }
}

TEST_F(InstalledApplications, AreFoundBesideBrokenEntries) {
    WriteFile(InSystem("applications/bad.desktop"), "Name=Starfall Racer\n\xff\xfe[[[");
    WriteFile(InSystem("applications/link.desktop"), "[Desktop Entry]\nType=Link\nName=Starfall Racer\nURL=x:y\n");
    WriteFile(InSystem("applications/latin.desktop"), Entry("Caf\xe9"));
    WriteFile(InSystem("applications/empty.desktop"), "");
    Install("star.desktop", "Starfall Racer");
    ExpectInstalled("Starfall Racer", "star.desktop");
}

TEST_F(InstalledApplications, OfOneNameAreThoseOfMenusFirst) {
    Install("a.desktop", "Starfall Racer", "NoDisplay=true\n");
    Install("c.desktop", "Starfall Racer");
    Install("d.desktop", "Starfall Racer");
    ExpectInstalled("Starfall Racer", "c.desktop");
    SetLanguage("de");
    Install("b.desktop", "Something Else", "Name[de]=Starfall Racer\n");
    ExpectInstalled("Starfall Racer", "c.desktop");
}

TEST_F(InstalledApplications, AreSeenAsSoonAsTheyAreInstalled) {
    ExpectUnknown("Starfall Racer");
    Install("star.desktop", "Starfall Racer");
    ExpectInstalled("Starfall Racer", "star.desktop");
    std::filesystem::remove(InSystem("applications/star.desktop"));
    ExpectUnknown("Starfall Racer");
}

TEST_F(InstalledApplications, MayBeThousands) {
    for (int i = 0; i < 3000; ++i) {
        Install("n" + std::to_string(i) + ".desktop", "Number " + std::to_string(i));
    }
    ExpectInstalled("number 0", "n0.desktop");
    ExpectInstalled("Number 2999", "n2999.desktop");
    ExpectUnknown("Number 3000");
}

TEST_F(InstalledApplications, AreNoneWhereThereAreNoDirectories) {
    setenv("XDG_DATA_HOME", "/nonexistent", 1);
    setenv("XDG_DATA_DIRS", "/nonexistent/too", 1);
    setenv("XDG_CACHE_HOME", "/nonexistent/cache", 1);
    ExpectUnknown("Starfall Racer");
}

}  // namespace
