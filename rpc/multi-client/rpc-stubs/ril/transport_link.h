// How the client gets to the RPC daemon: waiting for its start, and the registration on three fresh sockets.
#pragma once

#include <cstdint>

// UNIX stream sockets, -1 for none.
struct RpcSockets {
    int reg_intf_id = -1;   // the registration exchange, and nothing afterwards
    int send_intf_id = -1;  // every packet from the client to the daemon
    int recv_intf_id = -1;  // every packet from the daemon to the client
};

// Three unconnected sockets: true, or false (logged) and none is open.
bool RpcOpenSockets(RpcSockets& sockets);
void RpcCloseSockets(RpcSockets& sockets);

// Waits until the daemon has started: its marker file is there, or something happened to the marker's directory. 1, 0
// (logged) when the wait was not possible. That the daemon listens is not certain then.
int RpcDaemonConnect();

// One attempt to register, on the sockets given or on new ones when none is open. The application id, which is never 0,
// with the three sockets connected; 0 (logged) with none left open. A daemon that keeps silent costs some seconds.
uint8_t RegisterAppToRPC(RpcSockets& sockets);
