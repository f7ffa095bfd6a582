// A small model of the calls of one phone, by the rules for operations, answers and indications and nothing else.
#pragma once

#include <cstdint>
#include <map>
#include <string>

struct CallModel {
    struct Slot {
        int id = -1, state = 6, mt = 2;
        bool member = false;
    };
    struct Open {
        int token = 0;
        int64_t due = -1;  // -1: no timer
    };

    Slot slots[16];
    int pending = 0;
    bool accepting = false;
    int hold_by = 0, retrieve_by = 0, accept_by = 0;  // contexts
    std::map<int, Open> open;
    int64_t now = 0;
    bool sends_fail = false;
    std::string sent, completed, told;  // what the last step has to have shown

    Slot* find(int id);
    bool has(int state) const;
    int first(int state) const;  // id of the first call in this state, or -1
    int last(int state) const;
    bool send(const std::string& what);
    void tell() { told += "1001 "; }
    void complete(int token, int error);
    void finish(int context, int error);

    // `context` is where the phone sent the request, 0 if it sent none. Seconds of its timer, 0 for none.
    void request(int number, int index, int token, int context);
    void dialing(int id);
    void alerting(int id);
    void incoming(int id);
    void connected(int id);
    void status(int id, int value);
    void disconnected(int id);
    void answer(int function, int context, int id, int second, int result);
    void advance(int64_t seconds);

private:
    void begin(int token, int context, int64_t seconds) { open[context] = {token, seconds == 0 ? -1 : now + seconds}; }
    int control(int operation, int second, int context);
    void set_members(int from, int to);
    void move(int id, int from, int to);
    void add(const Slot& call);
};
