/// Notices of a file that may not be there, nor the folders it lies in.
#pragma once

#include <glib.h>

#include <functional>
#include <string>

#include "gamepad/file_descriptor.h"

/// Tells that the file may have come, gone or changed, whichever way; rather too often than too seldom. One inotify
/// descriptor, nothing polls.
///
/// Threads  made and destroyed on the context's thread, where on_change arrives.
/// Errors   where the kernel gives no more watches, changes go unnoticed after one message.
class FileWatch {
public:
    FileWatch(GMainContext* context, std::string path, std::function<void()> on_change);
    ~FileWatch();
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

private:
    static gboolean OnEvent(gint fd, GIOCondition condition, gpointer self);
    void Attach();
    int WatchNearestFolder();
    bool ReadEvents();

    const std::string path_;
    const std::function<void()> on_change_;
    gamepad::FileDescriptor inotify_;
    GSource* source_ = nullptr;
    int folder_ = -1;     // watch descriptor
    std::string wanted_;  // the name in that folder which leads to the file
};
