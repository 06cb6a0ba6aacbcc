// The tag that comes with each answer.

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>

#include "answers.h"
#include "store_home.h"

namespace {

class TheTag : public StoreHome {
protected:
    static std::string Tag() { return Ask("Starfall Racer").etag; }
};

// A file's time has the grain of the kernel's clock tick, so the times of the directories are set.
void MakeOlder(const std::string& directory) {
    const timespec times[] = {{1000000, 0}, {1000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, directory.c_str(), times, 0), 0);
}

TEST_F(TheTag, StaysTheSameWhileNothingChanges) {
    Install("star.desktop", "Starfall Racer");
    WriteFile(InSystem("swcatalog/xml/here.xml"), Catalogue(Component("a", "A")));
    const std::string first = Tag();
    EXPECT_NE(first, "");
    EXPECT_EQ(Tag(), first);
    EXPECT_EQ(Ask("unknown").etag, first);
}

TEST_F(TheTag, ChangesWithEachDirectoryOfApplicationsAndCatalogues) {
    std::string before = Tag();
    for (const char* const below : {"applications", "applications/games", "swcatalog/xml", "swcatalog/yaml"}) {
        for (const std::string& directory : {InSystem(below), InHome(below)}) {
            std::filesystem::create_directories(directory);
            const std::string made = Tag();
            EXPECT_NE(made, before) << directory;
            MakeOlder(directory);
            before = Tag();
            EXPECT_NE(made, before) << directory;
        }
    }
}

TEST_F(TheTag, IsTheAskersOwnWhenNothingCouldBeLookedUp) {
    const std::string title(200000, 'x');  // longer than any argument of a program may be
    const StoreAnswer answer = Ask(title, "tag of before");
    EXPECT_EQ(answer.status, 2);
    EXPECT_EQ(answer.appId, "");
    EXPECT_EQ(answer.etag, "tag of before");
}

}  // namespace
