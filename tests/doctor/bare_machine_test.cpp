// The report on a machine that has nothing, and with each part of the machine itself: keys, pads, who reads them,
// settings, bindings, the catalogue and the service.

#include <gmock/gmock.h>
#include <linux/input.h>
#include <sys/stat.h>

#include <filesystem>

#include "machine.h"
#include "program.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

class OnABareMachine : public Machine {};

TEST_F(OnABareMachine, EverythingThatIsMissingIsNamedWithWhatMendsIt) {
    environment_.erase("XDG_RUNTIME_DIR");
    environment_["QUORVEX_STORE_QUERY"] = folder_.Path("no-program");
    const Said said = Look();
    EXPECT_EQ(said.status, 1);
    EXPECT_FALSE(said.json["works"].asBool());
    ExpectFinding(said, "keys", "/dev/uinput is not there", "broken", "sudo modprobe uinput");
    ExpectFinding(said, "pads", "no pad is connected", "broken", "bluetoothctl");
    ExpectFinding(said, "readers", "nobody", "works");
    ExpectFinding(said, "bus", "the session bus is not there", "lacks", "dbus-user-session");
    ExpectFinding(said, "games", "nobody registers games", "lacks", "see the session bus");
    ExpectFinding(said, "focus", "no DISPLAY, SWAYSOCK or I3SOCK is set", "lacks", "graphical session");
    ExpectFinding(said, "screensaver", "no screensaver or display can be reached", "lacks", "graphical session");
    ExpectFinding(said, "standby", "neither a display nor logind", "lacks", "libpam-systemd");
    ExpectFinding(said, "settings", "XDG_RUNTIME_DIR is not set", "broken", "export XDG_RUNTIME_DIR");
    ExpectFinding(said, "settings", "db/comss/countrycode = '' (default)", "works");
    ExpectFinding(said, "store", "no-program does not answer", "lacks", "apt install");
    ExpectFinding(said, "bindings", "none: there is no " + folder_.Path("home") + "/.config/quorvex/accessory/",
                  "works");
    ExpectFinding(said, "service", "it does not run", "broken", "systemctl --user enable --now quorvex");
}

TEST_F(OnABareMachine, ThePlainReportHasAMarkForEachLineAndTheRemedyBelow) {
    const Said said = Run("");
    EXPECT_EQ(said.status, 1);
    EXPECT_THAT(said.output, HasSubstr("Pads\n  ✗ no pad is connected\n    → plug one in"));
    EXPECT_THAT(said.output, HasSubstr("Who else reads a pad\n  ✓ nobody\n"));
    EXPECT_THAT(said.output, HasSubstr("Standby\n  ! neither"));
    EXPECT_THAT(said.output, HasSubstr("\n3 broken, "));
}

TEST_F(OnABareMachine, ATerminalThatKnowsOnlyAsciiGetsOtherMarks) {
    environment_["LC_ALL"] = "C";
    const Said said = Run("");
    EXPECT_THAT(said.output, HasSubstr("Pads\n  NO no pad is connected\n    -> plug one in"));
    EXPECT_THAT(said.output, HasSubstr("  ok nobody\n"));
}

TEST_F(OnABareMachine, TheCommandLineIsExplained) {
    const Said help = Run("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, StartsWith("Usage: quorvex-doctor"));
    const Said misused = Run("--jsonn");
    EXPECT_EQ(misused.status, 2);
    EXPECT_THAT(misused.output, HasSubstr("what is \"--jsonn\"?"));
    EXPECT_EQ(Run("--json --json").status, 2);
}

// keys

TEST_F(OnABareMachine, KeysWorkWhereUinputCanBeOpened) {
    HaveUinput();
    ExpectFinding(Look(), "keys", "/dev/uinput can be opened", "works");
}

TEST_F(OnABareMachine, UinputOfAnotherUserIsMendedByARule) {
    HaveUinput();
    Plug();
    chmod(TestbedPath("/dev/uinput").c_str(), 0600);
    BeOrdinaryUser();
    Before("mkdir -p /run/empty 2>/dev/null");
    Before("mount -t tmpfs tmpfs /etc/udev 2>/dev/null; mount -t tmpfs tmpfs /usr/lib/udev 2>/dev/null");
    ExpectFinding(Look(), "keys", "/dev/uinput may not be opened by this user", "broken",
                  "tee /etc/udev/rules.d/71-quorvex");
}

TEST_F(OnABareMachine, UinputOfAnotherUserInSpiteOfTheRuleIsMendedAtTheSeat) {
    HaveUinput();
    Plug();
    chmod(TestbedPath("/dev/uinput").c_str(), 0600);
    BeOrdinaryUser();
    Before(
        "mkdir -p /etc/udev; mount -t tmpfs tmpfs /etc/udev; mkdir /etc/udev/rules.d; touch "
        "/etc/udev/rules.d/71-quorvex.rules");
    ExpectFinding(Look(), "keys", "/dev/uinput may not be opened by this user", "broken",
                  "log in at the machine itself");
}

TEST_F(OnABareMachine, KeysThatAreOnlyPrintedAreTold) {
    environment_["QUORVEX_KEYS"] = "print";
    ExpectFinding(Look(), "keys", "QUORVEX_KEYS=print", "lacks", "unset QUORVEX_KEYS");
}

TEST_F(OnABareMachine, TheKeyMapCountsAndIsChecked) {
    Plug();
    WriteConfig("keymap", "36 KEY_SPACE\n9 KEY_NOBODY\n");
    const Said said = Look();
    ExpectFinding(said, "keys", "key map: " + folder_.Path("home/.config/quorvex/keymap"), "works");
    ExpectFinding(said, "keys", "KEY_NOBODY", "lacks", "mend or delete that line");
    EXPECT_EQ(said.Finding("pads", "\"")["keys"][0]["key"].asString(), "KEY_SPACE");
}

// pads

TEST_F(OnABareMachine, AStandardPadIsDescribed) {
    Plug();
    const Json::Value pad = Look().Finding("pads", "at /dev/input/event5: standard layout");
    EXPECT_EQ(pad["mark"].asString(), "works");
    EXPECT_EQ(pad["layout"].asString(), "standard");
    EXPECT_EQ(pad["axes"][0]["name"].asString(), "left stick X");
    EXPECT_EQ(pad["axes"][0]["minimum"].asInt(), -32768);
    EXPECT_EQ(pad["axes"][0]["maximum"].asInt(), 32767);
    EXPECT_EQ(pad["missing"][0].asString(), "Home page");
    std::map<std::string, int> keys;
    for (const Json::Value& key : pad["keys"]) {
        keys[key["input"].asString()] = key["code"].asInt();
    }
    EXPECT_EQ(keys, (std::map<std::string, int>{{"A", 36},
                                                {"B", 9},
                                                {"X", 148},
                                                {"Start", 74},
                                                {"Home", 71},
                                                {"left stick button", 571},
                                                {"left stick left", 113},
                                                {"left stick right", 114},
                                                {"left stick up", 111},
                                                {"left stick down", 116},
                                                {"right stick left", 95},
                                                {"right stick right", 96},
                                                {"right stick up", 76},
                                                {"right stick down", 75},
                                                {"directional pad left", 113},
                                                {"directional pad right", 114},
                                                {"directional pad up", 111},
                                                {"directional pad down", 116},
                                                {"Select and Start held", 124}}));
}

TEST_F(OnABareMachine, HomeIsToldAsTheSettingsHaveIt) {
    Plug();
    folder_.Write("run/quorvex/memory/accessory/playnest_status", "1000\n");
    const Json::Value pad = Look().Finding("pads", "standard layout");
    std::map<std::string, int> keys;
    for (const Json::Value& key : pad["keys"]) {
        keys[key["input"].asString()] = key["code"].asInt();
    }
    EXPECT_EQ(keys["Home held"], 572);
    EXPECT_EQ(keys.count("Home"), 0U);
}

TEST_F(OnABareMachine, AMappedPadIsDescribed) {
    Plug(KnownOldPad());
    const Json::Value pad = Look().Finding("pads", "mapped as \"");
    EXPECT_EQ(pad["mark"].asString(), "works");
    EXPECT_EQ(pad["layout"].asString(), "mapped");
    EXPECT_EQ(pad["keys"][0]["key"].asString(), "KEY_ENTER");
}

TEST_F(OnABareMachine, AGuessedPadIsMendedByALineThatBeginsSo) {
    PadModel pad = NumberedPad();
    pad.vendor = 0x1234;
    pad.product = 0x5678;
    Plug(pad);
    ExpectFinding(Look(), "pads", "not in the controller mappings", "lacks", "030000003412000078560000");
}

TEST_F(OnABareMachine, APadThatMayNotBeReadIsMendedByAGroup) {
    Plug();
    chmod(TestbedPath("/dev/input/event5").c_str(), 0600);
    BeOrdinaryUser();
    ExpectFinding(Look(), "pads", "/dev/input/event5 cannot be opened: Permission denied", "broken",
                  "sudo usermod -aG input $USER");
}

TEST_F(OnABareMachine, AMappingThatCannotBeReadIsTold) {
    WriteConfig("gamecontrollerdb.txt", "this is no mapping\n");
    ExpectFinding(Look(), "pads", "gamecontrollerdb.txt", "lacks", "mend or delete that line");
}

// settings

TEST_F(OnABareMachine, SettingsAreToldWithTheirValues) {
    folder_.Write("run/quorvex/memory/accessory/playnest_status", "int32 1\n");
    folder_.Write("run/quorvex/memory/accessory/gamepad_active", "0\n");
    const Said said = Look();
    ExpectFinding(said, "settings", "memory/accessory/playnest_status = 1", "works");
    const Json::Value status = said.Finding("settings", "playnest_status");
    EXPECT_EQ(status["value"].asInt(), 1);
    EXPECT_FALSE(status["default"].asBool());
    EXPECT_TRUE(status["set"].asBool());
    const Json::Value active = said.Finding("settings", "gamepad_active");
    EXPECT_TRUE(active["default"].asBool());
    EXPECT_TRUE(active["set"].asBool());
    EXPECT_FALSE(said.Finding("settings", "easy-wakeup")["set"].asBool());
}

TEST_F(OnABareMachine, SettingsThatAreNoGoodAreNamed) {
    folder_.Write("run/quorvex/memory/accessory/playnest_status", "'often'\n");
    folder_.Write("home/.local/state/quorvex/db/menu/connection/easy-wakeup", "often\n");
    folder_.Write("home/.local/state/quorvex/db/menu/connection/easy-wakeupp", "1\n");
    folder_.Write("run/quorvex/memory/accessory/gamepad_active.A1B2C3", "1\n");
    const Said said = Look();
    ExpectFinding(said, "settings", "which is no int", "broken",
                  "quorvex-settings set memory/accessory/playnest_status 0");
    ExpectFinding(said, "settings", "cannot understand \"often\"", "broken",
                  "quorvex-settings set db/menu/connection/easy-wakeup 0");
    ExpectFinding(said, "settings", "nobody reads this key; the nearest one is db/menu/connection/easy-wakeup", "lacks",
                  "easy-wakeupp'");
    EXPECT_TRUE(said.Finding("settings", "A1B2C3").isNull()) << said.output;
    EXPECT_EQ(said.status, 1);
}

TEST_F(OnABareMachine, ProductInformationThatIsNoGoodIsNamed) {
    WriteConfig("product.conf", "[product]\nlocal-set=often\n");
    ExpectFinding(Look(), "settings", "product.conf", "lacks", "mend or delete that line");
}

// bindings and the catalogue

constexpr char kBindings[] = R"({
  "global_config": [
    {"key_code": 5, "runtitle": "Starfall Racer", "virtual_key": 138},
    {"key_code": 5, "runtitle": "Moon Base", "virtual_key": 138},
    {"key_code": 7, "runtitle": "", "virtual_key": 0},
    {"key_code": 99, "runtitle": "Nobody", "virtual_key": 138},
      {"key_code": 4, "runtitle": "Too far", "virtual_key": 289},
    {"key_code": 3, "runtitle": "Odd", "virtual_key": 138, "runtitel": "?"}
  ],
  "globalconfig": []
})";

TEST_F(OnABareMachine, EachBindingHasItsVerdict) {
    WriteConfig("accessory/app_config.json", kBindings);
    const Said said = Look();
    ExpectFinding(said, "bindings", "app_config.json: 6 entries", "works");
    ExpectFinding(said, "bindings", "line 3, column 5: duplicate: RB", "lacks", "delete this entry");
    ExpectFinding(said, "bindings", "line 4, column 5: RB opens \"Moon Base\" by KEY_", "works");
    ExpectFinding(said, "bindings", "line 5, column 5: empty title: RT", "lacks", "runtitle");
    ExpectFinding(said, "bindings", "line 6, column 5: no pad has button 99", "lacks", "key_code");
    ExpectFinding(said, "bindings", "line 7, column 7: unknown key 289", "lacks", "virtual_key");
    ExpectFinding(said, "bindings", "nobody reads its \"runtitel\"", "lacks", "correct its name");
    ExpectFinding(said, "bindings", "nobody reads \"globalconfig\"", "lacks", "correct its name");
    ExpectFinding(said, "bindings", "the terms are not accepted", "lacks", "defaultdisclaimeragree 1");
    ExpectFinding(said, "store", "answers", "works");
    ExpectFinding(said, "store", "\"Moon Base\" is not known", "lacks", "appstreamcli refresh");
}

TEST_F(OnABareMachine, TheServiceStopsAtAnEntryThatIsNoGood) {
    WriteConfig("accessory/app_config.json", "{\"global_config\": [\n  {\"key_code\": 1},\n  {\"key_code\": \"a\"}]}");
    ExpectFinding(Look(), "bindings", "(entry 2, line 3, column 3); 1 entry before it", "broken", "correct this place");
}

TEST_F(OnABareMachine, AFileThatIsNoJsonIsToldWithItsPlace) {
    WriteConfig("accessory/app_config.json", "{\"global_config\": [\n  {\"key_code\" 1}]}");
    ExpectFinding(Look(), "bindings", "Line 2, Column 15", "broken", "correct this place");
}

TEST_F(OnABareMachine, AFileThatCannotBeOpenedIsTold) {
    fs::create_directories(folder_.Path("home/.local/share/quorvex/apps/org.tizen.accessory/res/wgt/app_config.json"));
    WriteConfig("accessory/app_config.json", "{}");
    ExpectFinding(Look(), "bindings", "res/wgt/app_config.json: cannot be opened", "broken", "chmod u+r");
}

TEST_F(OnABareMachine, TitlesAreLookedUp) {
    WriteConfig("accessory/app_config.json",
                R"({"global_config": [{"key_code": 5, "runtitle": "Starfall Racer", "virtual_key": 138},
                                      {"key_code": 6, "runtitle": "Moon Base", "virtual_key": 138}]})");
    folder_.Write("home/.local/share/applications/starfall.desktop",
                  "[Desktop Entry]\nType=Application\nName=Starfall Racer\nExec=/bin/true\n");
    folder_.Write("home/.local/share/swcatalog/xml/all.xml",
                  "<components version=\"0.14\"><component type=\"desktop-application\"><id>org.example.moon</id>"
                  "<name>Moon Base</name><summary>x</summary><pkgname>moon</pkgname></component></components>");
    folder_.Write("home/.local/state/quorvex/db/menu/homeview/homedatacontrol/defaultdisclaimeragree", "1\n");
    const Said said = Look();
    ExpectFinding(said, "store", "\"Starfall Racer\" is starfall.desktop", "works");
    ExpectFinding(said, "store", "\"Moon Base\" is known as org.example.moon and not installed", "lacks", "install it");
    ExpectFinding(said, "bindings", "the terms are accepted", "works");
}

// the service itself

TEST_F(OnABareMachine, ARunningServiceIsToldWithItsStart) {
    Plug();
    StartService();
    const Json::Value service = Look().Finding("service", "runs since ");
    EXPECT_EQ(service["mark"].asString(), "works");
    EXPECT_THAT(service["since"].asString(), testing::MatchesRegex("20..-..-.. ..:..:.."));
}

TEST_F(OnABareMachine, TwoServicesAreOneTooMany) {
    Plug();
    StartService();
    fs::create_directory(folder_.Path("other"));
    Before("cp /bin/sleep " + folder_.Path("other/quorvex") + "; " + folder_.Path("other/quorvex") + " 1000 &");
    ExpectFinding(Look(), "service", "it runs 2 times", "broken", "kill ");
}

TEST_F(OnABareMachine, AServiceOfAnotherSessionIsTold) {
    Plug();
    StartService("XDG_STATE_HOME=/nowhere");
    environment_["XDG_STATE_HOME"] = folder_.Path("state");
    ExpectFinding(Look(), "service", "it runs with XDG_STATE_HOME=/nowhere, here it is " + folder_.Path("state"),
                  "lacks", "systemctl --user import-environment XDG_STATE_HOME");
}

}  // namespace
