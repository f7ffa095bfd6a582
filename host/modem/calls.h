// The calls on the network's side: what a called party does, how a call begins and ends. What the phone asks for is in
// call.cpp.
//
// Runs in the loop.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "host/modem/modem.h"

namespace calls {

enum class State { DIALING, ALERTING, INCOMING, ACTIVE, HELD, RELEASING };

struct Call {
    uint8_t id;
    uint32_t serial;  // never used again, for what happens later
    State state;
    std::string number;
    bool is_emergency = false;
    bool is_member = false;    // of the multiparty call
    bool is_withheld = false;  // the far end doesn't see who calls
    int32_t cause = 0;         // of its end
    uint32_t peer = 0;         // the serial of its other end where that is the other stack, or 0
};

struct Stack {
    bool on = false;
    std::vector<Call> calls;
    int32_t tty_mode = 0;
};

extern std::array<Stack, c_stacks> s_stacks;

// 3GPP TS 24.008, 10.5.4.11.
enum Cause : int32_t {
    NO_CAUSE = 0,
    OPERATOR_BARRING = 8,
    NORMAL_CLEARING = 16,
    USER_BUSY = 17,
    NO_ANSWER = 19,
    CALL_REJECTED = 21,
    OUT_OF_ORDER = 27,  // the destination
    FACILITY_REJECTED = 29,
    TEMPORARY_FAILURE = 41,
    NO_RESOURCES = 47,
    UNKNOWN_CALL = 81,
    FDN_BLOCKED = 279,  // the modem's own
};

// What a call status indication says.
enum Status : int32_t { NUMBER_KNOWN = 0, NOW_HELD = 12, NOW_RETRIEVED = 13 };

// What the network tells about a call besides, by the modem's numbers.
enum Notification : int32_t {
    CALL_HELD = 0,
    CALL_RETRIEVED = 1,
    JOINED_MULTIPARTY = 2,
    CALL_WAITING = 3,
    FORWARDED_CALL_INCOMING = 4,
    INCOMING_CALL_FORWARDED = 5,
    OUTGOING_CALL_FORWARDED = 6,
    FORWARDS_ALWAYS = 8,
    FORWARDS_WHEN_BUSY = 9,
    FORWARDS_WITHOUT_REPLY = 10,
    FORWARDS_WHEN_NOT_REACHABLE = 11,
    FORWARDS_CONDITIONALLY = 12,  // under all of the last three conditions
    CLIR_REJECTED = 14,
    INCOMING_CALL_DEFLECTED = 17,
    OUTGOING_CALL_BARRED = 18,
    INCOMING_CALL_BARRED = 22,
};

// Null for none. Pointers are good until a call comes or goes.
Call* find_call(uint32_t sim_id, uint32_t call_id);
Call* find_state(uint32_t sim_id, State state);

// Null when all ids are taken.
Call* add_call(uint32_t sim_id, State state, const std::string& number);

// A step in the life of a call, unless the call has come to its end before.
using Step = void (*)(Modem& modem, uint32_t sim_id, Call& call);
void after(Modem& modem, Loop::Milliseconds delay, uint32_t sim_id, const Call& call, Step step);

// Somebody calls, or is diverted here: the call goes where the subscriber wants it. Empty, or why the caller gets
// nowhere at all.
std::string arrive(Modem& modem, uint32_t sim_id, const std::string& number, bool is_forwarded);
// The phone would not take an incoming call.
void incoming_refused(Modem& modem, uint32_t sim_id, Call& call);
// A stack calls the other one: what its subscriber wants decides, and what becomes of it is told to the caller.
void reach_stack(Modem& modem, uint32_t sim_id, Call& call);
// An outgoing call alerts; the far end answers after a while, unless it is the other stack.
void alert(Modem& modem, uint32_t sim_id, Call& call);

// The other end of a stack's call at the other stack, or null.
Call* peer_of(uint32_t sim_id, const Call& call);
// Tells it something.
void notify_peer(Modem& modem, uint32_t sim_id, const Call& call, Notification notification);
// The closed user group of the parties, if they are in one.
void tell_group(Modem& modem, uint32_t sim_id, const Call& call);

// Why the network or the phone has no place for one more outgoing call.
Cause setup_obstacle(uint32_t sim_id, const std::string& number, bool is_emergency);
// The call is dialled, and takes its course.
void dial(Modem& modem, uint32_t sim_id, Call& call);
// Does nothing unless the call alerts.
void far_end_answers(Modem& modem, uint32_t sim_id, Call& call);
// Packet service gives way to a call on 2G.
void share_radio(Modem& modem, uint32_t sim_id);
// The call clears, whoever wants it to. It keeps its id meanwhile.
void clear_call(Modem& modem, uint32_t sim_id, Call& call, int32_t cause);
// Removes the call, whose cause is set.
void disconnect(Modem& modem, uint32_t sim_id, Call& call);
void leave_multiparty(uint32_t sim_id, Call& leaving);

// All calls in one state go to the other. The indications come later, behind the response: report_moved.
std::vector<uint8_t> move_calls(uint32_t sim_id, State from, State to);
void count_move(uint32_t sim_id, const std::vector<uint8_t>& moved, Status status);  // where the phone asked for it
void report_moved(Modem& modem, uint32_t sim_id, const std::vector<uint8_t>& moved, Status status);
void notify(Modem& modem, uint32_t sim_id, const Call& call, Notification notification);
void report_connected(Modem& modem, uint32_t sim_id, const Call& call);

// The text that fits, terminated; `out` is zeros.
template <size_t n>
void fill_text(char (&out)[n], const std::string& text) {
    text.copy(out, n - 1);
}

}  // namespace calls
