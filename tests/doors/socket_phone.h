// The shipped library in a rild of its own: requests and answers pass rild's socket, packets the modem's sockets. The
// process runs in the sandbox.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/harness/phone.h"
#include "tests/host/rild/rild_process.h"

class SocketPhone : public BelowLibrary {
public:
    struct Answer {
        int error;
        std::string data;  // the parcel behind the error
    };
    struct Unsolicited {
        int number;
        std::string data;
    };

    explicit SocketPhone(bool second_instance = false);
    ~SocketPhone();
    SocketPhone(const SocketPhone&) = delete;
    SocketPhone& operator=(const SocketPhone&) = delete;

    // E_MODEM_UP, up to rild's greeting. / The same, up to the radio's state "off", with mode requests left open.
    void start();
    void bring_up();

    // Sends a request with its arguments, as parcel() writes them; gives its serial.
    int ask(int number, const std::string& words = "");
    // Waits for the answer; a second one fails the test.
    Answer answer(int serial);
    // Asks and waits.
    Answer answer_to(int number, const std::string& words = "") { return answer(ask(number, words)); }
    // Whether it has been answered, once the library is through with all that was asked.
    bool is_answered(int serial);

    // Waits until the library serves requests again, at most ten seconds: behind a start it spoofs them for a moment.
    void wait_served();
    // The radio's state as Android was last told, once the library is through with all that was asked.
    int radio_state();
    void wait_radio_state(int state);  // as Android was told
    // Unsolicited responses since the last call, without the greeting; waits until there are `count`.
    std::vector<Unsolicited> take_unsolicited(size_t count = 0);
    std::vector<int> take_unsolicited_numbers(size_t count = 0) { return numbers_of(take_unsolicited(count)); }
    static std::vector<int> numbers_of(const std::vector<Unsolicited>& messages);

private:
    // Takes messages until the condition holds; a message that doesn't come fails the test.
    void read_until(const std::function<bool()>& condition);
    // All that the library had sent by now.
    void read_all();

    Process rild_;
    RilClient client_;
    int serial_ = 0;
    int radio_state_ = -1;
    std::map<int, Answer> answers_;
    std::vector<Unsolicited> unsolicited_;
};

// Arguments for a request of this number that its form allows; null for one that has no form, which rild refuses
// itself.
const char* arguments_of(int number);
