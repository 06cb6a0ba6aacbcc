/// Notices of a file that may not be there, nor the folders it lies in.
#pragma once

#include <glib.h>

#include <functional>
#include <string>
#include <vector>

#include "events/path_watch.h"

/// Tells that the file may have come, gone or changed, whichever way; rather too often than too seldom. Nothing
/// polls.
///
/// Threads  made and destroyed on the context's thread, where on_change arrives.
/// Errors   where the kernel gives no more watches, changes go unnoticed after one message.
class FileWatch {
public:
    FileWatch(GMainContext* context, std::string path, std::function<void()> on_change);
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

private:
    void Attach();
    int WatchNearestFolder();
    void OnNotices(const std::vector<PathWatch::Notice>& notices);

    const std::string path_;
    const std::function<void()> on_change_;
    PathWatch watch_;
    int folder_ = -1;     // its number
    std::string wanted_;  // the name in that folder which leads to the file
};
