// Reading and writing settings through the platform's interface, on real files.

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

#include "settings_home.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::optional<int> GetInt(const char* key) {
    int value = 0;
    return vconf_get_int(key, &value) == 0 ? std::optional<int>(value) : std::nullopt;
}

std::optional<int> GetBool(const char* key) {
    int value = 0;
    return vconf_get_bool(key, &value) == 0 ? std::optional<int>(value) : std::nullopt;
}

std::optional<std::string> GetStr(const char* key) {
    const std::unique_ptr<char, decltype(&std::free)> text(vconf_get_str(key), &std::free);
    return text ? std::optional<std::string>(text.get()) : std::nullopt;
}

mode_t ModeOf(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

class ASetting : public SettingsHome {};

TEST_F(ASetting, ReadsBackAsItWasSet) {
    for (const int value : {0, 5, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(vconf_set_int(kHub, value), 0);
        EXPECT_EQ(GetInt(kHub), value);
    }
    for (const char* text : {"", "CN", "it's \"a\"\nb", "日本"}) {
        EXPECT_EQ(vconf_set_str(kCountry, text), 0);
        EXPECT_EQ(GetStr(kCountry), text);
    }
    EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(ASetting, IsOneLineInAFileOfItsOwn) {
    vconf_set_int(kHub, 5);
    vconf_set_str(kCountry, "CN");
    EXPECT_EQ(Contents(kHub), "int32 5\n");
    EXPECT_EQ(Contents(kCountry), "'CN'\n");
}

TEST_F(ASetting, IsItsUsersAlone) {
    const mode_t before = umask(0);
    vconf_set_int(kHub, 5);
    umask(before);
    EXPECT_EQ(ModeOf(FileOf(kHub)), 0600U);
    EXPECT_EQ(ModeOf(Runtime() + "/quorvex"), 0700U);
    EXPECT_EQ(ModeOf(Runtime() + "/quorvex/memory/accessory"), 0700U);
}

TEST_F(ASetting, LeavesNoTemporaryFileBehind) {
    vconf_set_int(kHub, 5);
    vconf_set_int(kHub, 6);
    EXPECT_EQ(Shell("test \"$(ls -A " + Runtime() + "/quorvex/memory/accessory)\" = playnest_status"), 0);
}

TEST_F(ASetting, IsReadAsPeopleWriteIt) {
    Put(kHub, "5");
    EXPECT_EQ(GetInt(kHub), 5);
    EXPECT_EQ(Shell("echo 1000 > " + FileOf(kHub)), 0);
    EXPECT_EQ(GetInt(kHub), 1000);
    Put(kSaver, "true\n");
    EXPECT_EQ(GetBool(kSaver), 1);
    Put(kSaver, "false\n");
    EXPECT_EQ(GetBool(kSaver), 0);
    EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(ASetting, ThatIsUnsetReadsAsAFailureQuietly) {
    EXPECT_EQ(GetInt(kHub), std::nullopt);
    EXPECT_EQ(GetBool(kSaver), std::nullopt);
    EXPECT_EQ(GetStr(kCountry), std::nullopt);
    vconf_set_int(kHub, 5);
    EXPECT_EQ(unlink(FileOf(kHub).c_str()), 0);
    EXPECT_EQ(GetInt(kHub), std::nullopt);
    EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(ASetting, ThatCannotBeReadLeavesTheCallersValue) {
    int value = 77;
    Put(kHub, "abc");
    EXPECT_NE(vconf_get_int(kHub, &value), 0);
    EXPECT_NE(vconf_get_bool(kSaver, &value), 0);
    EXPECT_EQ(value, 77);
}

TEST_F(ASetting, WithoutAPlaceToGoIsAFailure) {
    vconf_set_int(kHub, 5);
    EXPECT_NE(vconf_get_int(kHub, nullptr), 0);
    EXPECT_NE(vconf_get_bool(kHub, nullptr), 0);
    EXPECT_NE(vconf_set_str(kCountry, nullptr), 0);
}

TEST_F(ASetting, LivesInTheHomeDirectoryWhereTheVariableIsUnsetOrRelative) {
    const char* const before = std::getenv("HOME");
    const std::string home = before != nullptr ? before : "";
    setenv("HOME", Root().c_str(), 1);
    for (const char* state : {"relative/state", ""}) {
        setenv("XDG_STATE_HOME", state, 1);
        EXPECT_EQ(vconf_set_str(kCountry, state), 0);
        EXPECT_EQ(Shell("grep -qx \"'" + std::string(state) + "'\" " + Root() + "/.local/state/quorvex/" + kCountry),
                  0);
    }
    setenv("HOME", home.c_str(), 1);
}

// One message in all: it would be the same for each key and each read.
TEST_F(ASetting, BelowMemoryFailsWithoutARuntimeDirectoryAndSaysSoOnce) {
    Changes changes;
    const std::string relative = Root().substr(1);
    setenv("XDG_RUNTIME_DIR", relative.c_str(), 1);
    EXPECT_EQ(GetInt(kHub), std::nullopt);
    EXPECT_EQ(GetBool(kSaver), std::nullopt);
    EXPECT_NE(vconf_set_int(kActive, 1), 0);
    EXPECT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &changes), -1);
    EXPECT_EQ(vconf_set_str(kCountry, "CN"), 0);
    EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("XDG_RUNTIME_DIR is not absolute")));
}

class AKeyThatIsRefused : public SettingsHome, public ::testing::WithParamInterface<std::string> {};

TEST_P(AKeyThatIsRefused, IsNeitherReadNorWrittenNorWatched) {
    const char* key = GetParam().c_str();
    Changes changes;
    EXPECT_NE(vconf_set_int(key, 5), 0);
    EXPECT_EQ(GetInt(key), std::nullopt);
    EXPECT_EQ(GetStr(key), std::nullopt);
    EXPECT_EQ(vconf_notify_key_changed(key, Changes::Callback, &changes), -1);
    EXPECT_EQ(Shell("test -z \"$(find " + Root() + " -type f)\""), 0);
}

INSTANTIATE_TEST_SUITE_P(Keys, AKeyThatIsRefused,
                         ::testing::Values("", "/", "/etc/x", "..", "../x", "memory/../x", "memory/a/..", ".", "a/./b",
                                           "a//b", "a/", "memory/", "a\nb", "a\x01", "\xff", std::string(241, 'a'),
                                           std::string(100000, 'a')));

TEST_F(ASetting, MayHaveAnyOtherName) {
    for (const std::string& key : {std::string("a"), std::string("memory"), std::string("..a/b..c/ d"),
                                   std::string("memory/é"), std::string(240, 'a')}) {
        EXPECT_EQ(vconf_set_int(key.c_str(), 5), 0) << key;
        EXPECT_EQ(GetInt(key.c_str()), 5) << key;
        EXPECT_EQ(Contents(key), "int32 5\n");
    }
}

TEST_F(ASetting, RefusesANullKey) {
    EXPECT_EQ(GetInt(nullptr), std::nullopt);
    EXPECT_EQ(GetStr(nullptr), std::nullopt);
    EXPECT_NE(vconf_set_int(nullptr, 5), 0);
    EXPECT_EQ(vconf_notify_key_changed(nullptr, Changes::Callback, nullptr), -1);
    EXPECT_EQ(vconf_notify_key_changed(kHub, nullptr, nullptr), -1);
    EXPECT_EQ(vconf_ignore_key_changed(nullptr, nullptr), -1);
}

struct WrongText {
    const char* contents;
    const char* named;
};

class AFileThatIsNoNumber : public SettingsHome, public ::testing::WithParamInterface<WrongText> {};

TEST_P(AFileThatIsNoNumber, IsAFailedReadWithOneMessageThatNamesFileAndText) {
    Put(kHub, GetParam().contents);
    EXPECT_EQ(GetInt(kHub), std::nullopt);
    EXPECT_EQ(GetInt(kHub), std::nullopt);
    EXPECT_THAT(TakeMessages(), ElementsAre(AllOf(HasSubstr(FileOf(kHub)), HasSubstr(GetParam().named))));
}

INSTANTIATE_TEST_SUITE_P(Texts, AFileThatIsNoNumber,
                         ::testing::Values(WrongText{"", R"("")"}, WrongText{"abc\n", R"("abc")"},
                                           WrongText{"5.5", R"("5.5")"}, WrongText{"99999999999\n", R"("99999999999")"},
                                           WrongText{"'5'\n", "\"'5'\""}, WrongText{"true\n", R"("true")"},
                                           WrongText{"5\n6\n", R"("5\n6")"}, WrongText{"\xff\n", R"("\377")"}));

TEST_F(ASetting, OfAnotherTypeIsAFailedReadForEachType) {
    Put(kSaver, "int32 1\n");
    EXPECT_EQ(GetBool(kSaver), std::nullopt);
    Put(kCountry, "CN\n");
    EXPECT_EQ(GetStr(kCountry), std::nullopt);
    EXPECT_THAT(TakeMessages(), ElementsAre(AllOf(HasSubstr(FileOf(kSaver)), HasSubstr("\"int32 1\"")),
                                            AllOf(HasSubstr(FileOf(kCountry)), HasSubstr("\"CN\""))));
}

TEST_F(ASetting, IsComplainedOfAgainWhenItsTextHasChanged) {
    for (const char* contents : {"abc", "abd", "abc"}) {
        Put(kHub, contents);
        EXPECT_EQ(GetInt(kHub), std::nullopt);
        EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr(contents)));
    }
}

TEST_F(ASetting, IsComplainedOfAgainAfterItWasRightMeanwhile) {
    for (int round = 0; round < 2; ++round) {
        Put(kHub, "'abc'");
        EXPECT_EQ(GetInt(kHub), std::nullopt);
        EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("'abc'")));
        Put(kHub, "5");
        EXPECT_EQ(GetInt(kHub), 5);
    }
}

// What may stand in a file's place. Each test ends at once, or the whole test program is late.
class InTheFilesPlace : public SettingsHome {
protected:
    void SetUp() override {
        SettingsHome::SetUp();
        path_ = FileOf(kHub);
        EXPECT_EQ(Shell("mkdir -p " + path_.substr(0, path_.rfind('/'))), 0);
    }
    void ExpectOneMessage(const char* why) {
        EXPECT_EQ(GetInt(kHub), std::nullopt);
        EXPECT_EQ(GetInt(kHub), std::nullopt);
        EXPECT_THAT(TakeMessages(), ElementsAre(AllOf(HasSubstr(path_), HasSubstr(why))));
    }
    std::string path_;
};

TEST_F(InTheFilesPlace, AHugeFileIsNotRead) {
    Put(kHub, "5");
    ASSERT_EQ(truncate(path_.c_str(), 100 << 20), 0);
    ExpectOneMessage("longer than 65536 bytes");
}

TEST_F(InTheFilesPlace, ADirectoryIsNoSetting) {
    ASSERT_EQ(mkdir(path_.c_str(), 0755), 0);
    ExpectOneMessage("is a directory");
    EXPECT_NE(vconf_set_int(kHub, 5), 0);
    EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr(path_ + ": cannot write")));
}

TEST_F(InTheFilesPlace, AFifoDoesNotBlock) {
    ASSERT_EQ(mkfifo(path_.c_str(), 0644), 0);
    ExpectOneMessage("not a regular file");
}

TEST_F(InTheFilesPlace, ASocketIsNoSetting) {
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path_.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path_.c_str(), path_.size());
    ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ExpectOneMessage("No such device or address");
    close(fd);
}

TEST_F(InTheFilesPlace, ASymbolicLinkIsNotFollowed) {
    ASSERT_EQ(Shell("echo 5 > " + Root() + "/elsewhere"), 0);
    ASSERT_EQ(symlink((Root() + "/elsewhere").c_str(), path_.c_str()), 0);
    ExpectOneMessage("is a symbolic link");
}

TEST_F(InTheFilesPlace, ASymbolicLinkIsReplacedByASet) {
    ASSERT_EQ(Shell("echo 5 > " + Root() + "/elsewhere"), 0);
    ASSERT_EQ(symlink((Root() + "/elsewhere").c_str(), path_.c_str()), 0);
    EXPECT_EQ(vconf_set_int(kHub, 6), 0);
    EXPECT_EQ(GetInt(kHub), 6);
    EXPECT_EQ(Shell("grep -qx 5 " + Root() + "/elsewhere"), 0);
}

TEST_F(InTheFilesPlace, AnUnreadableFileIsAFailure) {
    Put(kHub, "5");
    ASSERT_EQ(chmod(path_.c_str(), 0), 0);
    const AsOrdinaryUser user;
    ExpectOneMessage("Permission denied");
}

TEST_F(InTheFilesPlace, AFileOnTheWayIsAFailure) {
    ASSERT_EQ(Shell("rm -r " + Runtime() + "/quorvex && echo 5 > " + Runtime() + "/quorvex"), 0);
    ExpectOneMessage("Not a directory");
    EXPECT_NE(vconf_set_int(kHub, 5), 0);
}

TEST_F(InTheFilesPlace, WhatCannotBeWrittenKeepsItsValueWithAMessage) {
    vconf_set_int(kHub, 5);
    ASSERT_EQ(Shell("chmod 755 $(find " + Runtime() + " -type d) && chmod 644 " + path_), 0);
    const AsOrdinaryUser user;
    if (geteuid() != 65534) {
        ASSERT_EQ(Shell("chmod 555 $(dirname " + path_ + ")"), 0);
    }
    EXPECT_NE(vconf_set_int(kHub, 6), 0);
    EXPECT_EQ(GetInt(kHub), 5);
    EXPECT_THAT(TakeMessages(), ElementsAre(AllOf(HasSubstr(path_), HasSubstr("Permission denied"))));
}

TEST_F(ASetting, ThatIsNoTextOrTooLongIsNotWritten) {
    EXPECT_NE(vconf_set_str(kCountry, "\xff"), 0);
    EXPECT_NE(vconf_set_str(kCountry, std::string(70000, 'x').c_str()), 0);
    EXPECT_EQ(GetStr(kCountry), std::nullopt);
    EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr(R"("\377")"), HasSubstr("longer than 65536 bytes")));
}

TEST_F(ASetting, OfTheGreatestLengthReadsBack) {
    const std::string longest(65533, 'x');  // two quotes and the end of the line make 65536 bytes
    EXPECT_EQ(vconf_set_str(kTitles, longest.c_str()), 0);
    EXPECT_EQ(GetStr(kTitles), longest);
    EXPECT_NE(vconf_set_str(kTitles, (longest + 'x').c_str()), 0);
    EXPECT_EQ(GetStr(kTitles), longest);
}

}  // namespace
