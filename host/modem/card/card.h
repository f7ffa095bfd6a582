// A SIM (3GPP TS 51.011) or USIM (ETSI TS 102 221, 3GPP TS 31.102): its files, codes and locks, and what it answers to
// commands. Where the two differ, `is_3g` decides.
//
// Nothing here knows of a modem, of sockets or of time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace card {

using Bytes = std::vector<uint8_t>;

constexpr uint16_t c_master_file = 0x3F00;
constexpr uint16_t c_application = 0x7FFF;  // the directory of the application that a channel uses
constexpr uint16_t c_done = 0x9000;         // status words of a command that went well

enum class Kind : uint8_t { DIRECTORY, TRANSPARENT, LINEAR, CYCLIC, OBJECTS };

// What has to be known to do something with a file. A code that the card doesn't ask for counts as known.
enum class Access : uint8_t { ALWAYS, PIN1, PIN2, ADM, NEVER };

struct File {
    uint16_t id = 0;
    size_t parent = 0;  // index in Card::files; the master file is its own
    Kind kind = Kind::DIRECTORY;
    Bytes aid;        // of an application's directory
    uint8_t sfi = 0;  // short file identifier; 0 for none
    Access read = Access::PIN1;
    Access update = Access::ADM;
    Access invalidate = Access::ADM;  // and rehabilitate
    bool is_valid = true;
    size_t record_size = 0;
    Bytes content;  // records one behind the other

    size_t records() const { return record_size == 0 ? 0 : content.size() / record_size; }
};

// A code and the one that unblocks it. An empty code is not known to anybody.
struct Secret {
    static constexpr uint8_t c_attempts = 3;
    static constexpr uint8_t c_unblock_attempts = 10;

    std::string code;
    std::string unblock_code;
    uint8_t attempts = c_attempts;
    uint8_t unblock_attempts = c_unblock_attempts;
    bool is_enabled = true;    // else nobody asks for it
    bool is_verified = false;  // since the card has power

    bool is_blocked() const { return attempts == 0; }
    bool is_known() const { return !is_blocked() && (is_verified || !is_enabled); }
};

// A personalisation lock (3GPP TS 22.022), which a real phone keeps for the card's sake.
struct Lock {
    static constexpr uint8_t c_attempts = 10;

    bool is_active = false;
    std::string code;
    uint8_t attempts = c_attempts;
};

// PN, PU, PP, PC and PS.
constexpr size_t c_locks = 5;
constexpr std::array<const char*, c_locks> c_lock_names = {"PN", "PU", "PP", "PC", "PS"};

// What has been selected on one logical channel. Index 0 of Card::channels is the basic one.
struct Channel {
    bool is_open = false;
    size_t directory = 0;
    size_t application = 0;      // directory of the active one; 0 for none
    std::optional<size_t> file;  // below the directory
    size_t record = 0;           // the current one, from 1; 0 for none
    Bytes response;              // waits for GET RESPONSE
};

struct Card {
    bool is_3g = true;
    std::vector<File> files;  // the master file first
    Secret pin1;
    Secret pin2;
    Secret adm;
    std::array<Lock, c_locks> locks;
    std::array<Channel, 4> channels;
};

// --- From a text (docs/card.md). The error begins with the number of the line. ---------------------------------------

std::optional<Card> read_card(const std::string& text, std::string& error);
// The cards that come along: "3g" and "2g". Empty for another name.
std::string built_in_card(const std::string& name);

// --- Power and commands ----------------------------------------------------------------------------------------------

// The card has power again: nothing is verified and nothing selected but the master file.
void reset(Card& card);

// The answer to a command, ending in SW1 and SW2. Its class byte names the channel. As with transmission protocol T=0,
// what SELECT and SEARCH find waits for a GET RESPONSE.
Bytes transmit(Card& card, std::span<const uint8_t> command);
uint16_t status_words(const Bytes& answer);

// Selects one file by its id, as SELECT does, and gives what GET RESPONSE would.
Bytes select(Card& card, size_t channel, uint16_t id);

// The number of the opened channel, the first that is free; nothing when all are taken.
std::optional<size_t> open_channel(Card& card);
bool close_channel(Card& card, size_t channel);
// Selects the application whose identifier begins with these bytes. The answer as of select().
Bytes select_application(Card& card, size_t channel, std::span<const uint8_t> aid);

// --- Codes (ETSI TS 102 221, 11.1.9 to 11.1.13). The results are status words of the card's own kind. ----------------

uint16_t verify(Card& card, Secret& secret, const std::string& code);
uint16_t change(Card& card, Secret& secret, const std::string& code, const std::string& new_code);
uint16_t enable(Card& card, Secret& secret, const std::string& code, bool is_on);
uint16_t unblock(Card& card, Secret& secret, const std::string& unblock_code, const std::string& new_code);

// --- For those who look at files without selecting them --------------------------------------------------------------

// By a path of ids such as {0x3F00, 0x7FFF, 0x6F07}; null when it leads nowhere. 7FFF is the card's first application.
File* find_file(Card& card, std::span<const uint16_t> path);
// In the directory of the network's own files: 7FFF on a 3G card, 7F20 on any other.
File* find_network_file(Card& card, uint16_t id);

// Fixed dialling (3GPP TS 22.101, A.24), as the card's service tables and files have it.
enum class Fdn : uint8_t { ON, OFF, NOT_POSSIBLE };
Fdn fdn_state(Card& card);
// False unless PIN2 is known and the service is there.
bool set_fdn(Card& card, bool is_on);

}  // namespace card
