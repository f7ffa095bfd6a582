// A small model of the calls of one phone, by the rules for operations, answers and indications and nothing else.
#pragma once

#include <telephony/ril.h>

#include <cstdint>
#include <map>
#include <string>

inline std::string release(int scope, int id, int cause) {
    return "39(" + std::to_string(scope) + "," + std::to_string(id) + "," + std::to_string(cause) + ")";
}

inline std::string accept(int id) {
    return "44(" + std::to_string(id) + ")";
}

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

    void tell() { told += "1001 "; }
    void begin(int token, int context, int64_t seconds) { open[context] = {token, seconds == 0 ? -1 : now + seconds}; }
    Slot* find(int id) {
        for (Slot& slot : slots) {
            if (slot.id == id) {
                return &slot;
            }
        }
        return nullptr;
    }

    bool has(int state) const { return last(state) >= 0; }

    int last(int state) const {
        int id = -1;
        for (const Slot& slot : slots) {
            id = slot.state == state ? slot.id : id;
        }
        return id;
    }

    int first(int state) const {
        for (const Slot& slot : slots) {
            if (slot.state == state) {
                return slot.id;
            }
        }
        return -1;
    }

    bool send(const std::string& what) {
        sent += what + " ";
        return !sends_fail;
    }

    void complete(int token, int error) { completed += std::to_string(token) + ":" + std::to_string(error) + " "; }

    void finish(int context, int error) {
        complete(open.at(context).token, error);
        open.erase(context);
        hold_by = hold_by == context ? 0 : hold_by;
        retrieve_by = retrieve_by == context ? 0 : retrieve_by;
        if (accept_by == context) {
            accept_by = 0;
            accepting = false;
            pending = pending == 3 ? 0 : pending;
        }
    }

    int control(int operation, int second, int context) {
        const bool active = has(0), held = has(1), alert = has(3), ringing = has(4), waiting = has(5);
        const auto result = [](bool done) { return done ? 0 : -1; };
        switch (operation) {
            case 0:
                return held && waiting ? result(send(release(0, last(5), 21)))
                       : held          ? result(send(release(0, last(1), 21)))
                       : waiting       ? result(send(release(5, last(5), 17)))
                       : ringing       ? result(send(release(0, last(4), 17)))
                                       : -1;
            case 1:
                if (second >= 1 && second <= 16) {
                    const Slot* call = find(second);
                    return call == nullptr ? -1 : result(send(release(0, second, call->state == 4 ? 21 : 16)));
                }
                if (active) {
                    pending = waiting ? 2 : held ? 1 : pending;
                    const bool done = send(release(2, 0, 16));
                    pending = done ? pending : 0;
                    return result(done);
                }
                if (waiting) {
                    const bool done = send(accept(last(5)));
                    accepting = accepting || done;
                    accept_by = done ? context : accept_by;
                    return result(done);
                }
                if (held) {
                    pending = 1;
                    return result(send("51"));
                }
                return -1;
            case 2:
                if (second != 0) {
                    const Slot* call = second <= 16 ? find(second) : nullptr;
                    if (call != nullptr && call->member) {
                        return result(send("53(" + std::to_string(second) + ")"));
                    }
                    return call == nullptr || call->state != 1 ? -1 : result(send(active ? "47" : "51"));
                }
                if (active && held) {
                    return result(send("47"));
                }
                if (active && !waiting && hold_by != 0) {
                    return -14;
                }
                if (active) {
                    if (!send("49")) {
                        return -1;
                    }
                    pending = waiting ? 3 : 6;
                    (waiting ? accept_by : hold_by) = context;
                    return 0;
                }
                if (waiting) {
                    return result(send(accept(last(5))));
                }
                if (held) {
                    if (retrieve_by != 0) {
                        return -14;
                    }
                    const bool done = send("51");
                    retrieve_by = done ? context : 0;
                    return result(done);
                }
                return ringing ? result(send(accept(last(4)))) : -1;
            case 3:
                return held && active ? result(send("55")) : -1;
            default:
                return held && (active || alert) ? result(send("57")) : -1;
        }
    }

    void request(int number, int index, int token, int context) {
        const auto outcome = [&](int result, int64_t seconds) {
            if (result == 0) {
                begin(token, context, seconds);
            } else {
                complete(token, result == -14 && number == RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE ? 0 : 2);
            }
        };
        switch (number) {
            case RIL_REQUEST_DIAL:
                return outcome(send("34") ? 0 : -1, 25);
            case RIL_REQUEST_ANSWER: {
                const int ringing = first(4);
                return outcome(ringing >= 0 && send(accept(ringing)) ? 0 : -1, 0);
            }
            case RIL_REQUEST_HANGUP:
                return outcome(control(1, index, context), 10);
            case RIL_REQUEST_HANGUP_WAITING_OR_BACKGROUND:
            case RIL_REQUEST_UDUB:
                return outcome(control(0, 0, context), 10);
            case RIL_REQUEST_HANGUP_FOREGROUND_RESUME_BACKGROUND:
                return outcome(control(1, 0, context), 10);
            case RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE:
                return outcome(control(2, 0, context), 10);
            case RIL_REQUEST_CONFERENCE:
                return outcome(control(3, 0, context), 0);
            case RIL_REQUEST_EXPLICIT_CALL_TRANSFER:
                return outcome(control(4, 0, context), 0);
            default:
                return outcome(control(2, index, context), 0);
        }
    }

    void add(const Slot& call) {
        if (Slot* free = find(-1); free != nullptr) {
            *free = call;
        }
    }

    void dialing(int id) {
        Slot* call = find(id);
        if (call != nullptr) {
            call->state = 2;
            call->mt = 0;
        } else {
            add({id, 2, 0, false});
        }
        tell();
    }

    void alerting(int id) {
        if (Slot* call = find(id); call != nullptr) {
            call->state = 3;
            call->mt = 0;
        }
        tell();
    }

    void incoming(int id) {
        add({id, has(0) || has(3) || has(1) || has(2) ? 5 : 4, 1, false});
        told += "1001 1018 ";
    }

    void connected(int id) {
        if (Slot* call = find(id); call != nullptr) {
            call->state = 0;
        }
        tell();
    }

    void status(int id, int value) {
        Slot* call = find(id);
        if (call == nullptr) {
            return;
        }
        if (value == 12 && call->mt != 1) {
            call->state = 1;
            tell();
        }
        if (value == 13 && call->state != 0) {
            call->state = 0;
            tell();
        }
    }

    void disconnected(int id) {
        if (Slot* call = find(id); call != nullptr) {
            *call = {};
        }
        if (pending == 1) {
            if (!has(1) || !send("51!")) {
                pending = has(1) ? 0 : pending;
                tell();
            }
        } else {
            const int waiting = first(5);
            if (pending == 2 && waiting >= 0 && !send(accept(waiting) + "!")) {
                pending = 0;
            }
            tell();
        }
        told += "1028 1001 ";
    }

    void set_members(int from, int to) {
        for (Slot& slot : slots) {
            slot.state = slot.member && slot.state == from ? to : slot.state;
        }
    }

    void move(int id, int from, int to) {
        Slot* call = find(id);
        if (call != nullptr && call->member) {
            set_members(from, to);
        } else if (call != nullptr) {
            call->state = to;
        }
    }

    void answer(int function, int context, int id, int second, int result) {
        if (open.count(context) == 0) {
            return;
        }
        const int error = result == 0 ? 0 : 2;
        Slot* call = find(id);
        switch (function) {
            case 34:
                if (result != 0) {
                    tell();
                }
                break;
            case 39:
                if (result != 0) {
                    pending = pending == 1 || pending == 2 ? 0 : pending;
                } else if (id != 0 && call != nullptr) {
                    *call = {};
                }
                break;
            case 44:
                if (call != nullptr && (result == 0 || accepting || pending == 3)) {
                    call->state = 0;
                    call->mt = 1;
                }
                accepting = false;
                pending = pending == 3 ? 0 : pending;
                tell();
                break;
            case 49: {
                hold_by = 0;
                if (result != 0) {
                    pending = 0;
                    break;
                }
                move(id, 0, 1);
                if (pending != 3) {
                    tell();
                    break;
                }
                const int waiting = first(5);
                if (waiting >= 0 && send(accept(waiting))) {
                    return;
                }
                finish(context, 2);
                return;
            }
            case 51:
                retrieve_by = 0;
                if (result != 0 || call == nullptr) {
                    pending = 0;
                } else {
                    move(id, 1, 0);
                    tell();
                }
                break;
            default:
                if (result != 0) {
                    break;
                }
                tell();
                if (function == 47) {
                    move(id, 1, 0);
                    move(second, 0, 1);
                } else if (function == 55) {
                    for (Slot& slot : slots) {
                        slot.member = slot.member || slot.state <= 1;
                        slot.state = slot.state <= 1 ? 0 : slot.state;
                    }
                    pending = 0;
                } else if (function == 53) {
                    for (Slot& slot : slots) {
                        slot.state = slot.state == 0 ? 1 : slot.state;
                    }
                    if (call != nullptr) {
                        call->member = false;
                        call->state = 0;
                    }
                } else if (call != nullptr) {
                    call->state = 0;
                }
                break;
        }
        finish(context, error);
    }

    void advance(int64_t seconds) {
        now += seconds;
        for (;;) {
            auto first = open.end();
            for (auto it = open.begin(); it != open.end(); ++it) {
                if (it->second.due >= 0 && it->second.due <= now &&
                    (first == open.end() || it->second.due < first->second.due ||
                     (it->second.due == first->second.due && it->second.token < first->second.token))) {
                    first = it;
                }
            }
            if (first == open.end()) {
                return;
            }
            finish(first->first, 2);
        }
    }
};
