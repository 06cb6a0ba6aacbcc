#include "platform/system_info.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "child_process.h"
#include "own_settings.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kFeature[] = "com.velmora/featureconf/product.smart_monitor_feature_support";
constexpr int kLocalSet = 284;

/// A person's machine: what their session and their product.conf say.
class Product : public testing::Test {
protected:
    void Configure(const std::string& text) const {
        std::filesystem::create_directories(settings_.Root() + "/config/quorvex");
        std::ofstream(File()) << text;
    }
    std::string File() const { return settings_.Root() + "/config/quorvex/product.conf"; }

    /// In a process of its own, where nothing was answered before: the answer, or "unknown".
    ChildOutput AskFeature(const Environment& session) const {
        return RunInChild(With(session), [] {
            bool value = false;
            std::puts(system_info_get_custom_bool(kFeature, &value) != 0 ? "unknown" : value ? "true" : "false");
        });
    }
    ChildOutput AskLocalSet(const Environment& session) const {
        return RunInChild(With(session), [] {
            int value = -1;
            if (system_info_get_value_int(kLocalSet, &value) != 0) {
                std::puts("unknown");
            } else {
                std::printf("%d\n", value);
            }
        });
    }

    OwnSettings settings_;

private:
    static Environment With(const Environment& session) {
        Environment all{{"WAYLAND_DISPLAY", ""}, {"DISPLAY", ""},    {"DBUS_SYSTEM_BUS_ADDRESS", ""},
                        {"LC_ALL", ""},          {"LC_ADDRESS", ""}, {"LANG", ""}};
        for (const auto& variable : session) {
            all[variable.first] = variable.second;
        }
        return all;
    }
};

TEST_F(Product, CanStandByWhereSomethingCanTellOfIt) {
    EXPECT_THAT(AskFeature({{"WAYLAND_DISPLAY", "wayland-0"}}).OutLines(), ElementsAre("true"));
    EXPECT_THAT(AskFeature({{"DISPLAY", ":0"}}).OutLines(), ElementsAre("true"));
    EXPECT_THAT(AskFeature({{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere"}}).OutLines(), ElementsAre("true"));
    const bool hasLogind = access("/run/systemd/seats", F_OK) == 0;
    EXPECT_THAT(AskFeature({}).OutLines(), ElementsAre(hasLogind ? "true" : "false"));
}

TEST_F(Product, CanStandByAsThePersonSays) {
    Configure("[product]\nsmart-monitor=false\n");
    EXPECT_THAT(AskFeature({{"DISPLAY", ":0"}}).OutLines(), ElementsAre("false"));
    Configure("[product]\nsmart-monitor=true\n");
    EXPECT_THAT(AskFeature({}).OutLines(), ElementsAre("true"));
}

TEST_F(Product, KeepsItsAnswerForTheWholeProcess) {
    const ChildOutput child = RunInChild({{"DISPLAY", ":0"}}, [this] {
        bool value = false;
        EXPECT_EQ(system_info_get_custom_bool(kFeature, &value), 0);
        EXPECT_TRUE(value);
        Configure("[product]\nsmart-monitor=false\n");
        EXPECT_EQ(system_info_get_custom_bool(kFeature, &value), 0);
        EXPECT_TRUE(value);
    });
    EXPECT_EQ(child.status, 0) << child.out;
}

TEST_F(Product, IsMeantForTheTerritoryOfTheLocale) {
    EXPECT_THAT(AskLocalSet({{"LANG", "zh_CN.UTF-8"}}).OutLines(), ElementsAre("24"));
    EXPECT_THAT(AskLocalSet({{"LANG", "zh_CN"}}).OutLines(), ElementsAre("24"));
    EXPECT_THAT(AskLocalSet({{"LANG", "zh_TW.UTF-8"}}).OutLines(), ElementsAre("0"));
    EXPECT_THAT(AskLocalSet({{"LANG", "zh_CN.UTF-8"}, {"LC_ADDRESS", "de_DE@euro"}}).OutLines(), ElementsAre("0"));
    EXPECT_THAT(AskLocalSet({{"LANG", "C.UTF-8"}}).OutLines(), ElementsAre("unknown"));
    EXPECT_THAT(AskLocalSet({}).OutLines(), ElementsAre("unknown"));
}

TEST_F(Product, IsMeantForWhereThePersonSays) {
    Configure("[product]\nlocal-set=36\n");
    EXPECT_THAT(AskLocalSet({{"LANG", "de_DE.UTF-8"}}).OutLines(), ElementsAre("36"));
    EXPECT_THAT(AskLocalSet({}).OutLines(), ElementsAre("36"));
}

TEST_F(Product, NamesFileAndKeyOfABadValueOnceAndGoesWithoutIt) {
    Configure("[product]\nsmart-monitor=perhaps\nlocal-set=many\n");
    const ChildOutput child = RunInChild({{"LANG", "zh_CN.UTF-8"}, {"LC_ALL", ""}, {"DISPLAY", ":0"}}, [] {
        bool flag = false;
        EXPECT_EQ(system_info_get_custom_bool(kFeature, &flag), 0);
        EXPECT_TRUE(flag);
        for (int i = 0; i < 3; ++i) {
            int value = 0;
            EXPECT_EQ(system_info_get_value_int(kLocalSet, &value), 0);
            EXPECT_EQ(value, 24);
        }
    });
    EXPECT_EQ(child.status, 0) << child.out;
    EXPECT_THAT(child.ErrLines(), ElementsAre(AllOf(HasSubstr(File() + ", smart-monitor"), HasSubstr("perhaps")),
                                              AllOf(HasSubstr(File() + ", local-set"), HasSubstr("many"))));
}

TEST_F(Product, NamesAFileThatCannotBeReadAndGoesWithoutIt) {
    Configure("nonsense\n");
    const ChildOutput child = AskFeature({{"DISPLAY", ":0"}});
    EXPECT_THAT(child.OutLines(), ElementsAre("true"));
    EXPECT_THAT(child.ErrLines(), ElementsAre(HasSubstr(File())));
}

TEST_F(Product, WithoutAFileHasNothingToSayAboutIt) {
    EXPECT_THAT(AskFeature({{"DISPLAY", ":0"}}).ErrLines(), IsEmpty());
}

TEST_F(Product, DoesNotKnowOtherQuestionsAndLeavesTheirValues) {
    bool flag = true;
    EXPECT_NE(system_info_get_custom_bool("com.velmora/other", &flag), 0);
    EXPECT_NE(system_info_get_custom_bool(nullptr, &flag), 0);
    EXPECT_NE(system_info_get_custom_bool(kFeature, nullptr), 0);
    EXPECT_TRUE(flag);
    int value = 7;
    EXPECT_NE(system_info_get_value_int(1, &value), 0);
    EXPECT_EQ(value, 7);
    EXPECT_NE(system_info_get_value_int(kLocalSet, nullptr), 0);
}

}  // namespace
