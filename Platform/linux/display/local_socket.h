#ifndef PLATFORM_LINUX_DISPLAY_LOCAL_SOCKET_H
#define PLATFORM_LINUX_DISPLAY_LOCAL_SOCKET_H

#include <string>

/// Connects to a stream socket of the session, without waiting; the caller closes the descriptor. -1, with errno, when
/// nobody listens there or somebody whom this user need not believe: EACCES when it is another user's process and
/// neither that one nor this process is root's. Any thread.
int ConnectToSession(const std::string& path);

#endif
