// The network behind the phone's interfaces: a namespace of its own, in which a process answers.
#pragma once

#include <sys/types.h>

#include <string>

struct FarSide {
    pid_t process;
    int go;  // a pipe that tells it that its ends of the pairs are there
};

// Starts the process, whose namespace is there when this returns.
FarSide start_far_side();
// Lets it take its ends, peer0 and on, into service, and waits until it has. They end the process when a step fails.
void open_far_side(FarSide& far_side, int veths);

void bring_up(int fd, const std::string& name, int more_flags = 0);
