// The service built for a device: with its libraries, and with nothing of this project's platform.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "command.h"
#include "source_tree.h"
#include "symbols.h"

namespace {

namespace fs = std::filesystem;

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

/// What is built here belongs to this run of the program alone: several may run at once.
fs::path FolderOfThisRun() {
    return fs::path(BUILD_DIRECTORY) / std::to_string(getpid());
}

class RemoveFolderAtEnd : public ::testing::Environment {
public:
    void TearDown() override { fs::remove_all(FolderOfThisRun()); }
};

[[maybe_unused]] const auto* const removal = ::testing::AddGlobalTestEnvironment(new RemoveFolderAtEnd);

/// A folder of this test's own, empty.
std::string FreshFolder(const std::string& name) {
    const fs::path folder = FolderOfThisRun() / name;
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

std::string NameOf(const std::string& header) {
    return fs::path(header).stem();
}

/// The libraries of a device with this compiler: one for each header, named as it.
std::string MakeLibraries(const std::string& name, const std::string& compiler) {
    const std::string made = FreshFolder(name);
    for (const std::string& header : InterfaceHeaders()) {
        const Finished compiled = Run(compiler + " -std=c99 -D_GNU_SOURCE -Wall -Wextra -Werror -shared -fPIC -I " +
                                      Quoted(InTree("Platform/include")) + " -Wl,-soname,lib" + NameOf(header) +
                                      ".so -o " + Quoted(made + "/lib" + NameOf(header) + ".so") + " " +
                                      Quoted(InTree("tests/device/stubs/" + NameOf(header) + ".c")));
        EXPECT_EQ(compiled.status, 0) << compiled.output;
    }
    return made;
}

std::string Libraries() {
    static const std::string folder = MakeLibraries("lib", Quoted(C_COMPILER));
    return folder;
}

Finished Configure(const std::string& folder, const std::string& options) {
    return Run(Quoted(CMAKE) + " -S " + Quoted(SOURCE_DIRECTORY) + " -B " + Quoted(folder) +
               " --preset device -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_COMPILER=" + Quoted(C_COMPILER) +
               " -DCMAKE_CXX_COMPILER=" + Quoted(CXX_COMPILER) + " " + options);
}

Finished Build(const std::string& folder, const std::string& target) {
    return Run("nice " + Quoted(CMAKE) + " --build " + Quoted(folder) + " --target " + target);
}

/// The folder of a build with those libraries, made by the first test that asks.
std::string BuiltDevice() {
    static const std::string folder = [] {
        const std::string made = FreshFolder("build");
        const Finished configured = Configure(made, "-DQUORVEX_DEVICE_LIBRARIES=" + Quoted(Libraries()));
        EXPECT_EQ(configured.status, 0) << configured.output;
        const Finished built = Build(made, "quorvex");
        EXPECT_EQ(built.status, 0) << built.output;
        return made;
    }();
    return folder;
}

std::string Program() {
    return BuiltDevice() + "/quorvex";
}

TEST(TheDevicesLibraries, ExportTheInterfaceExactly) {
    for (const std::string& header : InterfaceHeaders()) {
        const Table library = ReadTable("-D --defined-only", {Libraries() + "/lib" + NameOf(header) + ".so"});
        EXPECT_EQ(library.strong, FunctionsOf(header)) << header;
    }
}

TEST(TheProgramForADevice, NeedsTheDevicesLibrariesAndNoneOfLinux) {
    const std::string needed = ::Run("readelf -d " + Quoted(Program()) + " | grep NEEDED").output;
    for (const std::string& header : InterfaceHeaders()) {
        EXPECT_THAT(needed, HasSubstr("[lib" + NameOf(header) + ".so]"));
    }
    for (const char* const library : {"evdev", "udev", "systemd", "xcb", "appstream", "gio"}) {
        EXPECT_THAT(needed, Not(HasSubstr(library)));
    }
}

TEST(TheProgramForADevice, HasNothingOfThePlatformOfLinux) {
    EXPECT_THAT(ReadFile(BuiltDevice() + "/compile_commands.json"),
                AllOf(HasSubstr("Main/main.cpp"), Not(HasSubstr("Platform/linux"))));
    const Table program = ReadTable("", {Program()});
    for (const std::string& symbol : ReadTable("", {LINUX_LIBRARY}).strong) {
        EXPECT_EQ(program.strong.count(symbol), 0U) << symbol;
    }
    for (const std::string& function : InterfaceFunctions()) {
        EXPECT_EQ(program.undefined.count(function), 1U) << function;
    }
}

TEST(TheProgramForADevice, StartsSendsAPadsKeyAndEnds) {
    const std::string out = FreshFolder("run") + "/out";
    const Finished run =
        ::Run(Quoted(Program()) + " 2>&1 > " + Quoted(out) + " & pid=$!; for i in $(seq 600); do " +
              "grep -q 'action 0' " + Quoted(out) + " && break; sleep 0.1; done; kill -TERM $pid; wait $pid");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(ReadFile(out), "key 36 action 1\nkey 36 action 0\n");
    EXPECT_THAT(run.output, HasSubstr("quorvex Exit"));
}

#ifdef ARM_COMPILER
TEST(TheProgramForADevice, IsBuiltForItsProcessorFromItsRootFolder) {
    const std::string libraries = MakeLibraries("lib-arm", Quoted(ARM_COMPILER) + " --sysroot=" + Quoted(ARM_ROOT));
    const std::string folder = FreshFolder("build-arm");
    const std::string compiler = ARM_COMPILER;
    const Finished configured =
        ::Run(Quoted(CMAKE) + " -S " + Quoted(SOURCE_DIRECTORY) + " -B " + Quoted(folder) +
              " --preset device -DCMAKE_BUILD_TYPE=Debug -DQUORVEX_DEVICE_LIBRARIES=" + Quoted(libraries) +
              " -DQUORVEX_DEVICE_ROOT=" + Quoted(ARM_ROOT) +
              " -DQUORVEX_DEVICE_COMPILER=" + Quoted(compiler.substr(0, compiler.size() - 4)));
    ASSERT_EQ(configured.status, 0) << configured.output;
    const Finished built = Build(folder, "quorvex");
    ASSERT_EQ(built.status, 0) << built.output;
    const std::string header = ::Run("readelf -h " + Quoted(folder + "/quorvex")).output;
    EXPECT_THAT(header, HasSubstr("ARM")) << header;
}
#endif

TEST(ALibraryThatIsMissing, IsNamedWithTheOptionThatNamesIt) {
    const std::string some = FreshFolder("some");
    fs::copy(Libraries() + "/libaul.so", some);
    const Finished configured = Configure(FreshFolder("missing"), "-DQUORVEX_DEVICE_LIBRARIES=" + Quoted(some));
    EXPECT_NE(configured.status, 0);
    EXPECT_THAT(configured.output, AllOf(HasSubstr("platform/gamepad.h: libgamepad.so is not found"),
                                         HasSubstr("-DQUORVEX_DEVICE_GAMEPAD=FILE"), Not(HasSubstr("libaul.so is"))));
}

TEST(AFunctionThatNoLibraryExports, IsNamedByTheLinker) {
    const std::string folder = FreshFolder("lacking");
    const Finished configured =
        Configure(folder, "-DQUORVEX_DEVICE_LIBRARIES=" + Quoted(Libraries()) +
                              " -DQUORVEX_DEVICE_VIRTUAL_KEY=" + Quoted(Libraries() + "/libscreensaver.so"));
    ASSERT_EQ(configured.status, 0) << configured.output;
    const Finished built = Build(folder, "quorvex");
    EXPECT_NE(built.status, 0);
    EXPECT_THAT(built.output, HasSubstr("VirtualKey_Send_KeyCode"));
}

/// Options that name one library for every header.
std::string OneLibrary(const std::string& file) {
    std::string options;
    for (std::string name : InterfaceHeaders()) {
        name = NameOf(name);
        for (char& letter : name) {
            letter = static_cast<char>(toupper(letter));
        }
        options += " -DQUORVEX_DEVICE_" + name + "=" + Quoted(file);
    }
    return options;
}

TEST(ADevice, IsHeldToTheContractByOneFileOfItsOwn) {
    const std::string folder = FreshFolder("contract");
    const Finished configured = Configure(
        folder,
        "-DQUORVEX_TESTS=ON -DQUORVEX_PLATFORM_UNDER_TEST=" + Quoted(InTree("tests/contract/double_platform.cpp")) +
            " -DCMAKE_CXX_FLAGS=" + Quoted("-I " + InTree("tests/platform").string()) + OneLibrary(DOUBLE_DEVICE));
    ASSERT_EQ(configured.status, 0) << configured.output;
    const Finished built = Build(folder, "contract_device");
    ASSERT_EQ(built.status, 0) << built.output;
    const Finished run = ::Run(Quoted(folder + "/tests/contract_device"));
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_THAT(run.output, HasSubstr("TheMachine.TakesKeysFromAllThreadsBetweenInitializeAndFinalize"));
}

}  // namespace
