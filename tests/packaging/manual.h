/// The man pages of the tree.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// "quorvex.8", ...
std::vector<std::string> Pages();
std::string TextOfPage(const std::string& page);

std::string TextOf(const std::filesystem::path& file);

/// What stands between .Bd -literal and .Ed, as a reader sees it, in order.
std::vector<std::string> LiteralBlocks(const std::string& page);

/// The pages as they are installed, in a folder of their own with mandoc's index, until the end of this object.
class InstalledPages {
public:
    InstalledPages();
    ~InstalledPages();
    InstalledPages(const InstalledPages&) = delete;
    InstalledPages& operator=(const InstalledPages&) = delete;

    const std::filesystem::path& Folder() const { return folder_; }
    std::filesystem::path File(const std::string& page) const;

private:
    std::filesystem::path folder_;
};
