// What the objects refer to, as the linker sees it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "command.h"
#include "source_tree.h"
#include "symbols.h"

namespace {

using testing::Contains;
using testing::IsEmpty;

std::string Readable(const std::string& symbol) {
    std::string text = Run("c++filt " + Quoted(symbol)).output;
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

/// The dynamic symbols of a library, as the compiler finds it.
Symbols LibrarySymbols(const std::string& library) {
    const std::string compiler = SplitAtBars(CXX_COMPILERS).front();
    std::string path = Run(Quoted(compiler) + " -print-file-name=" + library).output;
    path.erase(path.find_last_not_of('\n') + 1);
    return ReadTable("-D", {path}).defined;
}

Symbols RunTimeSymbols() {
    Symbols all = {"_GLOBAL_OFFSET_TABLE_", "__dso_handle"};
    for (const char* const library : {"libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1"}) {
        const Symbols some = LibrarySymbols(library);
        EXPECT_FALSE(some.empty()) << library;
        all.insert(some.begin(), some.end());
    }
    return all;
}

/// What a compiler adds by itself when it checks or counts.
bool IsInstrumentation(const std::string& symbol) {
    static const std::regex own("__(asan|tsan|ubsan|lsan|sanitizer|gcov|odr_asan|llvm_)_?.*");
    return std::regex_match(symbol, own);
}

Table ServiceTable() {
    return ReadTable("", SplitAtBars(SERVICE_OBJECTS));
}

TEST(TheInterface, DeclaresItsFunctions) {
    const Symbols functions = InterfaceFunctions();
    for (const char* const function :
         {"__dlog_print", "_ASSERT", "vconf_get_int", "vconf_get_str", "gamepad_get_events", "VirtualKey_Finalize",
          "is_standard_gamepad", "was_request_appid_by_runtitle", "tzplatform_getenv", "screensaver_reset",
          "device_power_set_state", "aul_listen_app_status_signal", "system_info_get_custom_bool"}) {
        EXPECT_THAT(functions, Contains(function));
    }
    EXPECT_EQ(functions.size(), 41U) << testing::PrintToString(functions);
}

TEST(TheServicesObjects, ReferToThePlatformInterfaceTheMainLoopTheJsonReaderAndTheRunTimeAlone) {
    const Symbols mainLoop = {"g_main_loop_new", "g_main_loop_run", "g_main_loop_quit", "g_main_loop_unref"};
    const Symbols functions = InterfaceFunctions();
    const Symbols runTime = RunTimeSymbols();
    const Symbols json = LibrarySymbols("libjsoncpp.so");
    const Table service = ServiceTable();
    ASSERT_FALSE(service.undefined.empty());
    for (const auto& [symbol, object] : service.undefined) {
        const bool known = service.defined.count(symbol) != 0 || mainLoop.count(symbol) != 0 ||
                           functions.count(symbol) != 0 || runTime.count(symbol) != 0 || json.count(symbol) != 0 ||
                           IsInstrumentation(symbol);
        EXPECT_TRUE(known) << object << " refers to " << Readable(symbol);
    }
}

TEST(TheServicesObjects, ReferToEveryFunctionOfTheInterface) {
    const Table service = ServiceTable();
    Symbols unused;
    for (const std::string& function : InterfaceFunctions()) {
        if (service.undefined.count(function) == 0) {
            unused.insert(function);
        }
    }
    EXPECT_THAT(unused, IsEmpty());
}

TEST(TheServicesObjects, DefineMainOnceAndTheTwoProcessGlobals) {
    const Symbols strong = ServiceTable().strong;
    EXPECT_THAT(strong, Contains("main"));
    EXPECT_THAT(strong, Contains("gLoop"));
    EXPECT_THAT(strong, Contains("is_gamepad_service_accessible"));
}

TEST(ThePlatformOfLinux, RefersToNothingOfTheService) {
    const Symbols ofTheService = ServiceTable().strong;
    const Table platform = ReadTable("", {PLATFORM_LIBRARY});
    ASSERT_FALSE(platform.undefined.empty());
    for (const auto& [symbol, object] : platform.undefined) {
        EXPECT_TRUE(ofTheService.count(symbol) == 0 || platform.defined.count(symbol) != 0)
            << object << " refers to " << Readable(symbol);
    }
}

TEST(ThePlatformOfLinux, DefinesEveryFunctionOfTheInterface) {
    const Symbols defined = ReadTable("", {PLATFORM_LIBRARY}).strong;
    for (const std::string& function : InterfaceFunctions()) {
        EXPECT_EQ(defined.count(function), 1U) << function;
    }
}

}  // namespace
