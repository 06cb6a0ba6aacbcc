#pragma once

#include <filesystem>

/// A small file system of its own at a folder, which can be full or read-only.
///
/// Threads  one. Errors: std::system_error when the machine refuses.
class Disk {
public:
    explicit Disk(std::filesystem::path folder);
    ~Disk();
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    /// Not one byte more fits.
    void Fill();
    void MakeReadOnly();
    void Repair();
    bool IsWell() const { return isWell_; }

private:
    std::filesystem::path Ballast() const { return folder_ / "ballast"; }

    const std::filesystem::path folder_;
    bool isWell_ = true;
};
