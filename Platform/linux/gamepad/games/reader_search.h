/// Who holds a file open.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace games {

/// A file by what it is, not by its name: a device node stands for its device wherever it was made (containers make
/// their own).
class Node {
public:
    explicit Node(std::string path) : path_(std::move(path)) {}

    const std::string& Path() const { return path_; }
    std::string Name() const { return path_.substr(path_.rfind('/') + 1); }
    bool Identify();  ///< false: it is not there
    bool Is(const struct stat& file) const;

private:
    std::string path_;
    bool is_device_ = false;
    dev_t device_ = 0;  // the one that the node stands for, or the one that the file lies on
    ino_t inode_ = 0;
};

struct Reader {
    pid_t pid;
    std::string node;  // the path of one that it holds open
};

/// The processes of this user, but this process, that hold one of the nodes open, each once. Never touches any other
/// file that they have open, so that a file system that hangs holds nobody up.
///
/// Errors   false: /proc cannot be read; errno tells why.
bool FindReaders(const std::vector<Node>& nodes, std::vector<Reader>& readers);

}  // namespace games
