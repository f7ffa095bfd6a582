// Listening and connected UNIX stream sockets, non-blocking.
#pragma once

#include <sys/types.h>

#include <string>

// Listens at `path`, which every user may connect to; what a dead server left there gives way, a living one keeps it
// (EADDRINUSE). Whoever ends takes the path away before it closes the socket. -1 with errno.
int listen_unix(const std::string& path);
// The next caller of a listening socket, or -1 when there is none.
int accept_unix(int listening);
// A connection to `path`, blocking. -1 with errno.
int connect_unix(const std::string& path);
// Process that made the connection, as seen when it connected; 0 for one of another PID namespace.
pid_t peer_process(int fd);
