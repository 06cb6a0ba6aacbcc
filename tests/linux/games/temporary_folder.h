/// A folder that is there as long as the test.
#pragma once

#include <string>

class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string Path(const std::string& name) const { return path_ + "/" + name; }
    /// Makes the folders above it as well; the path.
    std::string Write(const std::string& name, const std::string& text) const;
    /// In the way of editors: a new file in the place of the old one.
    void Replace(const std::string& name, const std::string& text) const;

private:
    std::string path_;
};
