/// Applications and catalogues of a test's own.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

/// The data, cache and language variables lead to fresh directories and to plain English; the platform asks the query
/// program of this build.
class StoreHome : public ::testing::Test {
protected:
    StoreHome();
    ~StoreHome() override;

    std::string InHome(const std::string& path) const { return root_ + "/home/" + path; }      ///< $XDG_DATA_HOME
    std::string InSystem(const std::string& path) const { return root_ + "/system/" + path; }  ///< of $XDG_DATA_DIRS

    /// A desktop entry of the system's; lines are added to its group.
    void Install(const std::string& id, const std::string& name, const std::string& lines = "") const;
    /// An executable script; its path.
    std::string Script(const std::string& name, const std::string& text) const;
    void SetLanguage(const std::string& language) const;

private:
    std::string root_;
    std::map<std::string, std::string> before_;
};

/// Makes the file and the directories above it.
void WriteFile(const std::string& path, const std::string& text);

/// A desktop entry that starts a program which is there.
std::string Entry(const std::string& name, const std::string& lines = "");

/// One component of a catalogue; more are further elements of it.
std::string Component(const std::string& id, const std::string& name, const std::string& more = "",
                      const std::string& kind = "desktop-application");
/// A catalogue with these components.
std::string Catalogue(const std::string& components);
