// Buttons that open applications: the configuration file, the consent, the store's answers.

#include <sys/fsuid.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "AppLauncher.h"
#include "service_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using testing::Values;
using testing::ValuesIn;

namespace fs = std::filesystem;

constexpr char kLoad[] = "AppLauncher.cpp: m_LoadAllAppConfigInfo";
constexpr char kCheck[] = "AppLauncher.cpp: LaunchAppCheck";
constexpr char kRunApp[] = "AppLauncher.cpp: m_RunApp";
constexpr char kRequest[] = "AppLauncher.cpp: m_RequestAppIdByRunTitle";
constexpr char kAnswer[] = "AppLauncher.cpp: m_WASRequestAppIdCallback";
constexpr char kConsent[] = "db/menu/homeview/homedatacontrol/defaultdisclaimeragree";
constexpr char kQuery[] = "was_request_appid_by_runtitle";

constexpr int kApplications = 27;  // numbers of the platform's directories
constexpr int kData = 77;

std::string Entry(int button, const std::string& title, int key) {
    return "{\"key_code\": " + std::to_string(button) + ", \"runtitle\": \"" + title +
           "\", \"virtual_key\": " + std::to_string(key) + "}";
}
std::string Config(const std::string& entries) {
    return "{\"global_config\": [" + entries + "]}";
}

/// Both places of the file exist, in a folder of the test's own; the file itself is in neither.
class AppLauncherTest : public ServiceTest {
protected:
    AppLauncherTest() {
        std::string pattern = testing::TempDir() + "app_launcher_XXXXXX";
        folder_ = mkdtemp(pattern.data());
        fs::permissions(folder_, fs::perms::all);
        fs::create_directories(AppFile().parent_path());
        fs::create_directories(DefaultFile().parent_path());
        platform.SetDirectory(kApplications, folder_ / "apps");
        platform.SetDirectory(kData, folder_ / "data");
    }
    ~AppLauncherTest() override { fs::remove_all(folder_); }

    fs::path AppFile() const { return folder_ / "apps/org.tizen.accessory/res/wgt/app_config.json"; }
    fs::path DefaultFile() const { return folder_ / "data/accessory/app_config.json"; }
    static void Write(const fs::path& file, const std::string& text) { std::ofstream(file, std::ios::binary) << text; }
    void StartWith(const std::string& text) {
        Write(AppFile(), text);
        Start();
    }
    /// The bindings that were read, as the program tells them.
    std::vector<std::string> Bindings() const {
        std::vector<std::string> bindings;
        for (const std::string& message : platform.LogMessages()) {
            if (message.rfind("global_config list[", 0) == 0) {
                bindings.push_back(message);
            }
        }
        return bindings;
    }

private:
    fs::path folder_;
};

// Where the file is looked for.

TEST_F(AppLauncherTest, TakesTheApplicationsFile) {
    Write(DefaultFile(), Config(Entry(5, "Default", 700)));
    StartWith(Config(Entry(5, "Application", 701)));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kLoad, "sConfigureFilePath[" + AppFile().string() + "]")));
    EXPECT_THAT(platform.LogMessages(), Not(Contains(HasSubstr("doesn't exist"))));
    EXPECT_THAT(Bindings(), ElementsAre("global_config list[0]'s [5, Application, 701]"));
    Press(5);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(701)));
}

TEST_F(AppLauncherTest, TakesTheApplicationsFileEvenIfItIsBroken) {
    platform.ExpectError("Parse json file err[");
    Write(DefaultFile(), Config(Entry(5, "Default", 700)));
    StartWith("{");
    EXPECT_THAT(Bindings(), IsEmpty());
}

TEST_F(AppLauncherTest, TakesTheDefaultFileWithoutAnApplicationsFile) {
    Write(DefaultFile(), Config(Entry(5, "Default", 700)));
    Start();
    EXPECT_THAT(platform.LogLines(), Contains(Info(kLoad, "[" + AppFile().string() + "] doesn't exist")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kLoad, "sConfigureFilePath[" + DefaultFile().string() + "]")));
    EXPECT_THAT(Errors(), IsEmpty());
    Press(5);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(700)));
}

TEST_F(AppLauncherTest, BindsNothingWithoutAFile) {
    Start();
    EXPECT_THAT(platform.LogLines(), Contains(Info(kLoad, "[" + AppFile().string() + "] doesn't exist")));
    EXPECT_THAT(platform.LogLines(), Contains(Error(kLoad, "Default[" + DefaultFile().string() + "] doesn't exist")));
    EXPECT_THAT(Errors(), SizeIs(1));
    Press(0);
    EXPECT_THAT(platform.LogLines(), Contains(Info(kCheck, "Call[LaunchAppCheck]with[0]")));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
}

TEST_F(AppLauncherTest, FollowsALinkToAFile) {
    Write(DefaultFile().replace_filename("real.json"), Config(Entry(5, "Linked", 702)));
    fs::create_symlink(DefaultFile().replace_filename("real.json"), AppFile());
    Start();
    EXPECT_THAT(Bindings(), ElementsAre("global_config list[0]'s [5, Linked, 702]"));
}

TEST_F(AppLauncherTest, TakesALinkToNowhereForMissing) {
    fs::create_symlink("/nonexistent", AppFile());
    Start();
    EXPECT_THAT(platform.LogMessages(), Contains("[" + AppFile().string() + "] doesn't exist"));
}

TEST_F(AppLauncherTest, LivesWithoutDirectories) {
    platform.SetDirectory(kApplications, "");
    platform.SetDirectory(kData, "");
    Start();
    EXPECT_THAT(Errors(), ElementsAre("Default[/accessory/app_config.json] doesn't exist"));
}

TEST_F(AppLauncherTest, ReadsTheFileOnlyOnce) {
    StartWith(Config(Entry(5, "Before", 700)));
    Write(AppFile(), Config(Entry(5, "After", 701)));
    Press(5);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(700)));
    EXPECT_EQ(platform.CallCount("tzplatform_getenv"), 2);
}

// What cannot be opened: one message, and the program goes on.

class InsteadOfAFile : public AppLauncherTest {
protected:
    void StartsWithOneOpenError() {
        const std::string message = "Open[" + AppFile().string() + "]err";
        platform.ExpectError(message);
        Start();
        EXPECT_THAT(platform.LogLines(), Contains(Error(kLoad, message)));
        EXPECT_THAT(Errors(), SizeIs(1));
        EXPECT_THAT(Bindings(), IsEmpty());
        Press(0);
        EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
    }
};

TEST_F(InsteadOfAFile, ADirectoryIsNotOpened) {
    fs::create_directory(AppFile());
    StartsWithOneOpenError();
}

TEST_F(InsteadOfAFile, APipeIsNotWaitedFor) {
    ASSERT_EQ(mkfifo(AppFile().c_str(), 0666), 0);
    StartsWithOneOpenError();
}

TEST_F(InsteadOfAFile, ADeviceIsNotRead) {
    fs::create_symlink("/dev/zero", AppFile());
    StartsWithOneOpenError();
}

TEST_F(InsteadOfAFile, ASocketIsNotRead) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(AppFile().string().size(), sizeof address.sun_path);
    AppFile().string().copy(address.sun_path, sizeof address.sun_path - 1);
    const int socketFd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(socketFd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    StartsWithOneOpenError();
    close(socketFd);
}

// The program's main thread reads the file; only there, the rights of root are laid down while it does so.
TEST_F(InsteadOfAFile, AForbiddenFileIsNotRead) {
    constexpr uid_t kNobody = 65534;
    Write(AppFile(), Config(Entry(0, "Forbidden", 700)));
    fs::permissions(AppFile(), fs::perms::none);
    platform.OnCall("tzplatform_getenv", [](const Call&) { setfsuid(kNobody); });
    platform.OnCall("vconf_notify_key_changed", [](const Call&) { setfsuid(geteuid()); });
    StartsWithOneOpenError();
}

// What cannot be read: one message that says where, and the program goes on.

struct Broken {
    const char* name;
    std::string text;
    const char* message = "";  ///< a part of it
    size_t times = 1;          ///< how often the text stands there
};
void PrintTo(const Broken& broken, std::ostream* out) {
    *out << broken.name;
}
std::string NameOf(const testing::TestParamInfo<Broken>& info) {
    return info.param.name;
}

std::string Repeated(const std::string& text, size_t times) {
    std::string result;
    result.reserve(text.size() * times);
    for (size_t i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

constexpr size_t kFiftyMegabytes = 50U << 20U;

const Broken kUnreadable[] = {
    {"Empty", "", "Line 1, Column 1"},
    {"Blank", "  \n\t ", "Line 2"},
    {"Words", "this is no JSON", "Line 1, Column 1"},
    {"CutOff", "{\"global_config\": [{\"key_code\": 5, ", "Line 1"},
    {"ErrorOnLine3", "{\n\"global_config\": [\n{\"key_code\" 5}]}", "Line 3"},
    {"NotANumber", Config("{\"key_code\": NaN}"), "Line 1"},
    {"NumberBeyondAll", Config("{\"key_code\": 1e400}"), "1e400"},
    {"Hexadecimal", Config("{\"key_code\": 0x10}"), "Line 1"},
    {"FiftyMegabytesOfRubbish", "x", "Line 1, Column 1", kFiftyMegabytes},
    {"FiftyMegabytesOfErrors", "[x\n,\"", "Line 1", kFiftyMegabytes / 5},
    {"FiftyMegabytesOfZeros", std::string(1, '\0'), "Line 1, Column 1", kFiftyMegabytes},
    {"ABinary",
     "\x7f"
     "ELF\x02\x01\x01" +
         std::string(64, '\0'),
     "Line 1, Column 1"},
    {"NestedTooDeep", std::string(100000, '['), "stackLimit"},
    {"NestedTooDeepInside", "{\"global_config\": " + std::string(100000, '[') + std::string(100000, ']') + "}",
     "stackLimit"},
    {"NestedObjects", "{\"a\":", "stackLimit", 100000},
    {"BadTextInATitle", Config(Entry(5, "caf\xe9", 700)), "Line 1, Column 52: not UTF-8"},
    {"BadTextOutside", "\xff" + Config(""), "Line 1, Column 1: not UTF-8"},
    {"BadTextOnLine2", "{\n  \xc0\xaf}", "Line 2, Column 3: not UTF-8"},
    {"BadTextAtTheEnd", Config(Entry(5, "a", 1)) + "\xe2\x82", "not UTF-8"},
    {"OverlongText", Config(Entry(5, "\xe0\x80\xaf", 1)), "not UTF-8"},
    {"SurrogateText", Config(Entry(5, "\xed\xa0\x80", 1)), "not UTF-8"},
    {"TextBeyondUnicode", Config(Entry(5, "\xf4\x90\x80\x80", 1)), "not UTF-8"},
    {"BadTextBehindABlock", std::string(4095, ' ') + "\xe2\x28\xa1", "Line 1, Column 4096: not UTF-8"},
    {"Utf16", std::string("\xff\xfe{\0}\0", 6), "Line 1, Column 1: not UTF-8"},
};

class AFileThatIsNoJson : public AppLauncherTest, public testing::WithParamInterface<Broken> {};

TEST_P(AFileThatIsNoJson, IsToldOnceAndBindsNothing) {
    platform.ExpectError("Parse json file err[");
    StartWith(Repeated(GetParam().text, GetParam().times));
    const auto errors = Errors();
    ASSERT_THAT(errors, SizeIs(1));
    EXPECT_THAT(platform.LogLines(), Contains(Error(kLoad, errors[0])));
    EXPECT_THAT(errors[0], StartsWith("Parse json file err["));
    EXPECT_THAT(errors[0], HasSubstr(GetParam().message));
    EXPECT_LT(errors[0].size(), 300U);
    EXPECT_THAT(Bindings(), IsEmpty());
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("[config_list]"))));
    Press(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
}
INSTANTIATE_TEST_SUITE_P(Such, AFileThatIsNoJson, ValuesIn(kUnreadable), NameOf);

// What is JSON but no configuration: what stands before it holds, and one message says why the rest does not.

std::string AfterAGoodOne(const std::string& entry) {
    return Config(Entry(5, "Good", 700) + "," + entry + "," + Entry(6, "Never", 701));
}

const Broken kMistyped[] = {
    {"ButtonIsAText", AfterAGoodOne(R"({"key_code": "7", "runtitle": "a", "virtual_key": 1})"), "convertible to Int"},
    {"ButtonIsAList", AfterAGoodOne(R"({"key_code": [7], "runtitle": "a", "virtual_key": 1})"), "convertible to Int"},
    {"ButtonIsAnObject", AfterAGoodOne(R"({"key_code": {}, "runtitle": "a", "virtual_key": 1})"), "convertible to Int"},
    {"KeyIsAText", AfterAGoodOne(R"({"key_code": 7, "runtitle": "a", "virtual_key": "1"})"), "convertible to Int"},
    {"KeyIsAList", AfterAGoodOne(R"({"key_code": 7, "runtitle": "a", "virtual_key": []})"), "convertible to Int"},
    {"TitleIsAList", AfterAGoodOne(R"({"key_code": 7, "runtitle": ["a"], "virtual_key": 1})"), "convertible to string"},
    {"TitleIsAnObject", AfterAGoodOne(R"({"key_code": 7, "runtitle": {}, "virtual_key": 1})"), "convertible to string"},
    {"ButtonTooLarge", AfterAGoodOne(R"({"key_code": 2147483648})"), "out of Int range"},
    {"ButtonTooSmall", AfterAGoodOne(R"({"key_code": -2147483649})"), "out of Int range"},
    {"ButtonBeyond64Bits", AfterAGoodOne(R"({"key_code": 18446744073709551616})"), "out of Int range"},
    {"ButtonAstronomical", AfterAGoodOne(R"({"key_code": 1e300})"), "out of Int range"},
    {"KeyTooLarge", AfterAGoodOne(R"({"key_code": 7, "virtual_key": 4294967296})"), "out of Int range"},
    {"ElementIsANumber", AfterAGoodOne("7"), "requires objectValue"},
    {"ElementIsAText", AfterAGoodOne("\"7\""), "requires objectValue"},
    {"ElementIsAList", AfterAGoodOne("[7]"), "requires objectValue"},
};

class AnEntryThatDoesNotFit : public AppLauncherTest, public testing::WithParamInterface<Broken> {};

TEST_P(AnEntryThatDoesNotFit, EndsTheLoadingThere) {
    platform.ExpectError("Exception[");
    StartWith(GetParam().text);
    const auto errors = Errors();
    ASSERT_THAT(errors, SizeIs(1));
    EXPECT_THAT(platform.LogLines(), Contains(Error(kLoad, errors[0])));
    EXPECT_THAT(errors[0], StartsWith("Exception["));
    EXPECT_THAT(errors[0], HasSubstr(GetParam().message));
    EXPECT_THAT(platform.LogMessages(), Contains("[config_list]size[3]"));
    EXPECT_THAT(Bindings(), ElementsAre("global_config list[0]'s [5, Good, 700]"));
    Press(5);
    Press(6);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(700)));
}
INSTANTIATE_TEST_SUITE_P(Such, AnEntryThatDoesNotFit, ValuesIn(kMistyped), NameOf);

const Broken kWrongRoots[] = {
    {"RootIsAList", "[]"},
    {"RootIsANumber", "5"},
    {"RootIsAText", "\"global_config\""},
    {"RootIsTrue", "true"},
    {"ListIsAnObject", R"({"global_config": {"key_code": 5}})"},
};

class ADocumentOfAnotherForm : public AppLauncherTest, public testing::WithParamInterface<Broken> {};

TEST_P(ADocumentOfAnotherForm, IsToldOnceAndBindsNothing) {
    platform.ExpectError("Exception[");
    StartWith(GetParam().text);
    ASSERT_THAT(Errors(), SizeIs(1));
    EXPECT_THAT(Errors()[0], StartsWith("Exception["));
    EXPECT_THAT(Bindings(), IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(Such, ADocumentOfAnotherForm, ValuesIn(kWrongRoots), NameOf);

// What is fine.

const Broken kWithoutEntries[] = {
    {"NoList", "{}"},
    {"OtherMembersOnly", R"({"version": 3, "key_code": 5})"},
    {"EmptyList", Config("")},
    {"NullList", R"({"global_config": null})"},
    {"NullRoot", "null"},
    {"ByteOrderMark", "\xef\xbb\xbf" + Config("")},
    {"Comments", "// bindings\n/* none */ " + Config("")},
};

class ADocumentWithoutEntries : public AppLauncherTest, public testing::WithParamInterface<Broken> {};

TEST_P(ADocumentWithoutEntries, BindsNothing) {
    StartWith(GetParam().text);
    EXPECT_THAT(platform.LogLines(), Contains(Info(kLoad, "[config_list]size[0]")));
    EXPECT_THAT(Errors(), IsEmpty());
    EXPECT_THAT(Bindings(), IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(Such, ADocumentWithoutEntries, ValuesIn(kWithoutEntries), NameOf);

TEST_F(AppLauncherTest, ReadsEntriesInTheirOrder) {
    StartWith(Config(Entry(5, "Starfall Racer", 731) + "," + Entry(7, "", 0) + "," + Entry(-2, "x", -1)));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kLoad, "[config_list]size[3]")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kLoad, "global_config list[0]'s [5, Starfall Racer, 731]")));
    EXPECT_THAT(Bindings(), ElementsAre("global_config list[0]'s [5, Starfall Racer, 731]",
                                        "global_config list[1]'s [7, , 0]", "global_config list[2]'s [-2, x, -1]"));
}

TEST_F(AppLauncherTest, ReadsMissingMembersAsNothing) {
    StartWith(Config("{\"key_code\": 5}, {\"runtitle\": \"a\"}, {\"virtual_key\": 9}, {}, null"));
    EXPECT_THAT(Bindings(), ElementsAre("global_config list[0]'s [5, , 0]", "global_config list[1]'s [0, a, 0]",
                                        "global_config list[2]'s [0, , 9]", "global_config list[3]'s [0, , 0]",
                                        "global_config list[4]'s [0, , 0]"));
    Press(5);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(AppLauncherTest, IgnoresOtherMembers) {
    StartWith(R"({"a": [], "global_config": [{"x": {}, "key_code": 5, "runtitle": "a", "virtual_key": 9}]})");
    EXPECT_THAT(Bindings(), ElementsAre("global_config list[0]'s [5, a, 9]"));
}

TEST_F(AppLauncherTest, ReadsTheLargestNumbers) {
    StartWith(Config(Entry(INT_MAX, "a", INT_MIN) + "," + Entry(INT_MIN, "b", INT_MAX)));
    Press(INT_MAX);
    Press(INT_MIN);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(INT_MIN), Tapped(INT_MAX)));
}

TEST_F(AppLauncherTest, ReadsTitlesOfAllScripts) {
    // So long that characters of two, three and four bytes lie across the borders of what is checked at a time.
    const std::string title = Repeated("\xc3\xa9\xe2\x82\xac\xf0\x9f\x8e\xae.", 3000);
    StartWith(Config(Entry(5, title, 700)));
    EXPECT_THAT(Errors(), IsEmpty());
    Press(5);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(700)));
    EXPECT_EQ(platform.Calls(kQuery).at(0).arguments.at(0), '"' + title + '"');
}

TEST_F(AppLauncherTest, ReadsTenThousandEntries) {
    std::string entries = Entry(0, "", 0);
    for (int button = 1; button < 10000; ++button) {
        entries += "," + Entry(button, "title " + std::to_string(button), button);
    }
    StartWith(Config(entries));
    EXPECT_THAT(Bindings(), SizeIs(10000));
    Press(9999);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(9999)));
}

TEST_F(AppLauncherTest, TakesTheLaterOfTwoEntriesForAButton) {
    StartWith(Config(Entry(5, "First", 700) + "," + Entry(5, "Second", 701)));
    Press(5);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(701)));
    EXPECT_THAT(platform.CallTexts(kQuery), ElementsAre(kQuery + std::string("(\"Second\", \"\", ptr, ptr)")));
}

// A press.

class ABoundButton : public AppLauncherTest {
protected:
    /// Buttons 0 (otherwise Return) and 14 (otherwise Home) open applications, 1 is listed without a title.
    void SetUp() override {
        StartWith(Config(Entry(0, "Starfall Racer", 731) + "," + Entry(14, "Hub", 732) + "," + Entry(1, "", 733)));
        platform.ForgetLog();
    }
    void SetAnswer(int status, std::optional<std::string> appId = "app.id", std::optional<std::string> etag = "etag") {
        StoreAnswer answer;
        answer.status = status;
        answer.appId = std::move(appId);
        answer.etag = std::move(etag);
        platform.SetStoreAnswer(answer);
    }
};

TEST_F(ABoundButton, SendsItsKeyAndNothingElse) {
    Press(0);
    const auto keys = platform.TakeKeys();
    ASSERT_THAT(keys, ElementsAre(Tapped(731)));
    EXPECT_EQ(keys[0].thread, kDispatcherThread);
    EXPECT_THAT(platform.CallTexts(kQuery), ElementsAre(kQuery + std::string("(\"Starfall Racer\", \"\", ptr, ptr)")));
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("[Menu Mode]"))));
    Release(0);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(ABoundButton, IsToldStepByStep) {
    Press(0);
    EXPECT_THAT(platform.Timeline(),
                HasInOrder(Entries{
                    "I: Call[LaunchAppCheck]with[0]", "I: find[0]in[m_mAppConfigInfoMap]runtitle[Starfall Racer]",
                    "I: Call[m_RunApp]with[Starfall Racer]",
                    "was_request_appid_by_runtitle(\"Starfall Racer\", \"\", ptr, ptr)", "I: m_semAppIdSync.Give()",
                    "I: Finish getting AppID", "I: Sent Virtual key code[731]to[Context-Manager]",
                    "VirtualKey_Send_KeyCode(731, 2)"}));
    EXPECT_THAT(platform.Timeline(), HasInOrder(Entries{"I: AppId[app.id]AppStatus[0]etag_string[etag]",
                                                        "I: [app.id] is installed!", "I: m_semAppIdSync.Give()"}));
    const auto lines = platform.LogLines();
    EXPECT_THAT(lines, Contains(Info(kCheck, "Call[LaunchAppCheck]with[0]")));
    EXPECT_THAT(lines, Contains(Info("AppLauncher.cpp: m_GetAppInfoWithKeyCode",
                                     "find[0]in[m_mAppConfigInfoMap]runtitle[Starfall Racer]")));
    EXPECT_THAT(lines, Contains(Info(kRunApp, "Call[m_RunApp]with[Starfall Racer]")));
    EXPECT_THAT(lines, Contains(Info(kRequest, "Wait to get AppID...")));
    EXPECT_THAT(lines, Contains(Info(kRequest, "Finish getting AppID")));
    EXPECT_THAT(lines, Contains(Info(kAnswer, "AppId[app.id]AppStatus[0]etag_string[etag]")));
    EXPECT_THAT(lines, Contains(Info(kAnswer, "m_semAppIdSync.Give()")));
    EXPECT_THAT(lines, Contains(Info(kRunApp, "Sent Virtual key code[731]to[Context-Manager]")));
}

TEST_F(ABoundButton, IsAnsweredOnTheStoresThread) {
    Press(0);
    for (const LogLine& line : platform.LogLines()) {
        if (line.where == kAnswer) {
            EXPECT_EQ(line.thread, "store-lib");
        }
    }
    EXPECT_TRUE(platform.Logged(DLOG_INFO, kAnswer, "m_semAppIdSync.Give()"));
}

TEST_F(ABoundButton, ComesBeforeHome) {
    Press(14);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(732)));
    EXPECT_THAT(platform.LogMessages(), Not(Contains(HasSubstr("[HomeKey]"))));
}

TEST_F(ABoundButton, WithoutATitleIsAnOrdinaryOne) {
    Press(1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(9)));
    EXPECT_EQ(platform.CallCount(kQuery), 0);
}

TEST_F(ABoundButton, IsKnownByPressesOfButtonsOnly) {
    Send(1, 0, 0);
    Send(1, 0, 2);
    Move(0, 1);
    Send(2, 0, 1);
    EXPECT_EQ(platform.CallCount(kQuery), 0);
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("Call[LaunchAppCheck]"))));
}

TEST_F(ABoundButton, WorksInAGameToo) {
    EnterGame();
    Press(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(731)));
}

TEST_F(ABoundButton, WorksWhileAnotherKeyIsHeld) {
    Press(2);
    Press(0);
    Release(2);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(148), Tapped(731), Released(148)));
}

// The consent.

class WithoutConsent : public ABoundButton {};

TEST_F(WithoutConsent, TheKeyIsSentAtOnceForTheNotice) {
    Change(kConsent, 0);
    Press(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(731)));
    EXPECT_EQ(platform.CallCount(kQuery), 0);
    EXPECT_THAT(platform.LogLines(), Contains(Info(kRunApp, "Sent Virtual key code[731] to popup notify message!")));
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("[Menu Mode]"))));
}

TEST_F(WithoutConsent, AnUnreadableAnswerIsNone) {
    platform.Unset(kConsent);
    Press(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(731)));
    EXPECT_EQ(platform.CallCount(kQuery), 0);
}

TEST_F(WithoutConsent, ANegativeAnswerIsAConsentAllTheSame) {
    Change(kConsent, -1);
    Press(0);
    EXPECT_EQ(platform.CallCount(kQuery), 1);
}

// The store's answers.

struct Answer {
    const char* name;
    int status;
    const char* appId;
    bool launches;
    int level;
    const char* message;
};
void PrintTo(const Answer& answer, std::ostream* out) {
    *out << answer.name;
}

constexpr Answer kAnswers[] = {
    {"Installed", 0, "app.id", true, DLOG_INFO, "[app.id] is installed!"},
    {"NotInstalled", 1, "app.id", true, DLOG_INFO, "[app.id] isn't installed!"},
    {"InstalledWithoutId", 0, "", false, DLOG_INFO, "[] is installed!"},
    {"NotInstalledWithoutId", 1, "", false, DLOG_INFO, "[] isn't installed!"},
    {"InstalledWithNullId", 0, nullptr, false, DLOG_INFO, "[] is installed!"},
    {"UnknownError", 2, "app.id", false, DLOG_ERROR, "Can't get App Status due to unknown err"},
    {"NotSupported", 3, "app.id", false, DLOG_INFO, "App isn't supported on current TV"},
    {"Four", 4, "app.id", false, DLOG_INFO, "Unknown Status[4]"},
    {"MinusOne", -1, "app.id", false, DLOG_INFO, "Unknown Status[-1]"},
    {"Largest", INT_MAX, "app.id", false, DLOG_INFO, "Unknown Status[2147483647]"},
    {"Smallest", INT_MIN, "app.id", false, DLOG_INFO, "Unknown Status[-2147483648]"},
};

class TheStoreAnswers : public ABoundButton, public testing::WithParamInterface<Answer> {};

TEST_P(TheStoreAnswers, AndTheLaunchGoesOnOrNot) {
    const Answer& answer = GetParam();
    platform.AllowError("Can't get App Status due to unknown err");
    SetAnswer(answer.status, answer.appId == nullptr ? std::nullopt : std::optional<std::string>(answer.appId));
    Press(0);
    EXPECT_THAT(platform.LogLines(), Contains(IsMessage(answer.level, kAnswer, answer.message)));
    if (answer.launches) {
        EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(731)));
    } else {
        EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
        EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("Sent Virtual key code"))));
    }
}
INSTANTIATE_TEST_SUITE_P(With, TheStoreAnswers, ValuesIn(kAnswers),
                         [](const auto& one) { return std::string(one.param.name); });

TEST_F(ABoundButton, LogsThatAnAnswerHasNoId) {
    SetAnswer(0, std::nullopt);
    Press(0);
    EXPECT_THAT(platform.LogMessages(), Contains(StartsWith("AppId[(null)]AppStatus[0]etag_string[")));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
}

TEST_F(ABoundButton, GoesItsOrdinaryWayWhenTheQueryIsRefused) {
    StoreAnswer answer;
    answer.refusal = -7;
    platform.SetStoreAnswer(answer);
    platform.ExpectError("Call[was_request_appid_by_runtitle]ret[-7]");
    Press(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
    EXPECT_THAT(platform.LogLines(), Contains(Error(kRequest, "Call[was_request_appid_by_runtitle]ret[-7]")));
    EXPECT_THAT(platform.LogMessages(), Not(Contains("Wait to get AppID...")));
}

TEST_F(ABoundButton, ForgetsTheIdOfAnEarlierAnswer) {
    Press(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(731)));
    StoreAnswer answer;
    answer.refusal = 1;
    platform.SetStoreAnswer(answer);
    platform.ExpectError("Call[was_request_appid_by_runtitle]ret[1]");
    Press(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
}

TEST_F(ABoundButton, SendsTheTagOfTheLastAnswerWithTheNextQuery) {
    const auto tagOfNextQuery = [this] {
        Press(0);
        Release(0);
        platform.TakeKeys();
        return platform.Calls(kQuery).back().arguments.at(1);
    };
    SetAnswer(0, "app.id", "first");
    EXPECT_EQ(tagOfNextQuery(), "\"\"");
    SetAnswer(3, "app.id", "second");
    EXPECT_EQ(tagOfNextQuery(), "\"first\"");
    SetAnswer(0, "app.id", std::nullopt);
    EXPECT_EQ(tagOfNextQuery(), "\"second\"");
    SetAnswer(0, "app.id", "third");
    EXPECT_EQ(tagOfNextQuery(), "\"\"");
    EXPECT_EQ(tagOfNextQuery(), "\"third\"");
}

TEST_F(ABoundButton, KeepsTheTagForAStoreThatReadsItAfterItsAnswer) {
    StoreAnswer answer;
    answer.when = StoreAnswer::When::BeforeReturning;
    for (const size_t length : {40U, 4000U, 3U, 100000U}) {
        answer.etag = std::string(length, static_cast<char>('a' + length % 7));
        platform.SetStoreAnswer(answer);
        Press(0);
        Release(0);
        EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(731)));
    }
    EXPECT_THAT(platform.TakeViolations(), IsEmpty());
    EXPECT_EQ(platform.Calls(kQuery).back().arguments.at(1), "\"" + std::string(3, 'd') + "\"");
}

TEST_F(ABoundButton, BlocksTheDispatcherUntilTheAnswerComes) {
    StoreAnswer answer;
    answer.when = StoreAnswer::When::WhenTold;
    platform.SetStoreAnswer(answer);
    platform.PressButton(kPad, 0);
    platform.PressButton(kPad, 2);
    ASSERT_TRUE(platform.WaitForLog("Wait to get AppID..."));
    EXPECT_FALSE(platform.WaitForKeys(1, std::chrono::milliseconds(50)));
    EXPECT_FALSE(platform.Logged(DLOG_INFO, "Finish getting AppID"));
    platform.GiveHeldAnswers();
    ASSERT_TRUE(platform.WaitUntilHandled(kPad));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(731), Pressed(148)));
}

TEST_F(ABoundButton, TakesNoAnswerThatIsForNobody) {
    StoreAnswer answer;
    answer.when = StoreAnswer::When::WhenTold;
    platform.SetStoreAnswer(answer);
    platform.ExpectError("[user_data]NULL");
    platform.PressButton(kPad, 0);
    ASSERT_TRUE(platform.WaitForLog("Wait to get AppID..."));
    platform.SendHeldAnswersToNobody();
    ASSERT_TRUE(platform.WaitUntilStoreAnswered());
    EXPECT_THAT(platform.LogLines(), Contains(Error(kAnswer, "[user_data]NULL")));
    EXPECT_FALSE(platform.Logged(DLOG_INFO, "m_semAppIdSync.Give()"));
    EXPECT_FALSE(platform.WaitForKeys(1, std::chrono::milliseconds(50)));
    platform.GiveHeldAnswers();
    ASSERT_TRUE(platform.WaitForKeys(1));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(731)));
}

TEST_F(ABoundButton, MayBePressedAgainAndAgain) {
    for (int i = 0; i < 50; ++i) {
        platform.PressButton(kPad, 0);
        platform.ReleaseButton(kPad, 0);
    }
    ASSERT_TRUE(platform.WaitUntilHandled(kPad));
    EXPECT_THAT(platform.TakeKeys(), SizeIs(50));
    EXPECT_EQ(platform.CallCount(kQuery), 50);
}

// Asked of the class itself.

TEST_F(ABoundButton, IsUsedForALaunchOrLeftToOthers) {
    AppLauncher launcher;
    ASSERT_TRUE(launcher.Initialize());
    EXPECT_TRUE(launcher.LaunchAppCheck(0));
    EXPECT_FALSE(launcher.LaunchAppCheck(1)) << "without a title";
    EXPECT_FALSE(launcher.LaunchAppCheck(99)) << "not bound";
    SetAnswer(3);
    EXPECT_FALSE(launcher.LaunchAppCheck(0)) << "not supported";
    Change(kConsent, 0);
    EXPECT_TRUE(launcher.LaunchAppCheck(0)) << "for the notice";
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(731), Tapped(731)));
}

TEST_F(ABoundButton, StaysBoundThroughDeInitialize) {
    AppLauncher launcher;
    ASSERT_TRUE(launcher.Initialize());
    launcher.DeInitialize();
    launcher.DeInitialize();
    Change(kConsent, 0);
    EXPECT_TRUE(launcher.LaunchAppCheck(0));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(731)));
}

// Life and memory.

TEST_F(AppLauncherTest, ItsLifeIsLogged) {
    StartWith(Config(""));
    Stop();
    EXPECT_THAT(platform.LogLines(), Contains(Info("AppLauncher.cpp: AppLauncher", "Constructor is called")));
    EXPECT_THAT(platform.LogLines(), Contains(Info("AppLauncher.cpp: ~AppLauncher", "Destructor is called")));
}

TEST_F(AppLauncherTest, WithoutMemoryForItsSemaphoreOnlyLaunchesAreLost) {
    Write(AppFile(), Config(Entry(0, "Starfall Racer", 731)));
    platform.OnCall("tzplatform_getenv", [](const Call&) { faults::RefuseMemory(1); });
    platform.ExpectError("there is no semaphore to wait on");
    Start();
    Press(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
    EXPECT_EQ(platform.CallCount(kQuery), 0);
}

}  // namespace
