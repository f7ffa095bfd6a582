// Commands to the card and how its answers are read (3GPP TS 51.011, clause 9; ETSI TS 102 221, clauses 10 and 11).
//
// Everything here runs on the RIL thread unless it says otherwise. Nothing is read behind the end of an answer,
// whatever length it gives: a negative length counts as 0, one that is too large as what there is room for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "ril/core/src/async_ril/async_ril.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

// `req_mode` of a command.
enum sim_req_mode : uint8_t { SIM_SELECT_THEN_APDU = 0, SIM_SELECT_AND_GET = 4 };

enum sim_instruction : uint8_t {
    SIM_READ_BINARY = 0xB0,
    SIM_READ_RECORD = 0xB2,
    SIM_GET_RESPONSE = 0xC0,
    SIM_RETRIEVE_DATA = 0xCB,
    SIM_UPDATE_BINARY = 0xD6,
    SIM_SET_DATA = 0xDB,
    SIM_UPDATE_RECORD = 0xDC,
    SIM_STATUS = 0xF2,
};

constexpr size_t c_apdu_header = 5;  // CLA, INS, P1, P2, P3

// Directories of a 2G card. A 3G card has the current application in their place.
constexpr uint16_t c_sim_df_telecom = 0x7F10;
constexpr uint16_t c_sim_df_gsm = 0x7F20;

// Root, directory and file. `df` is the directory on a card that is not 3G.
UtaSimApduPath sim_file_path(uint32_t sim_id, uint16_t df, uint16_t file);

// CLA of a command of the library's own: 00 for a 3G card, A0 for others.
uint8_t getClaByte(uint32_t sim_id);

// Each fills the whole buffer: READ BINARY, and READ RECORD of an absolute record number from 1.
void sim_create_apdu_for_read_binary(uint32_t sim_id, uint16_t offset, uint8_t length, UtaSimApduData& apdu);
void sms_sim_create_read_record_apdu(uint32_t sim_id, uint8_t record, uint8_t length, UtaSimApduData& apdu);

// --- The direct way to the card --------------------------------------------------------------------------------------

// Sends a command at once; `callback` takes the answer, a UtaSimApduCmdRspParam. The context has a private area that
// was made by qelril_create_multi_mod_priv. 0 or -1.
int32_t sim_apdu_cmd_req(uint32_t sim_id, const UtaSimApduCmdReqParam& req, rilreq_rspcb callback, uint32_t ctxt_id);

// Puts the callee's block into the context's private area: an answer goes to `callback` from now on. False without
// memory or without such an area. With the run lock held.
bool sim_apdu_expect(uint32_t ctxt_id, rilreq_rspcb callback);

// --- Answers ---------------------------------------------------------------------------------------------------------

struct sim_apdu_status {
    uint16_t id;  // of the last file looked at
    uint8_t sw1;
    uint8_t sw2;
};

// The parts of an answer, status words included.
std::span<const uint8_t> sim_df_part(const UtaSimApduCmdRspParam& answer);
std::span<const uint8_t> sim_ef_part(const UtaSimApduCmdRspParam& answer);
std::span<const uint8_t> sim_apdu_part(const UtaSimApduCmdRspParam& answer);  // empty without one

// A part without its status words.
std::span<const uint8_t> sim_without_sw(std::span<const uint8_t> part);

// 1 for an empty part, 0 for one of a single byte; otherwise its status words go to `out`, and 1 says that they are
// good.
int32_t sim_get_apdu_status(std::span<const uint8_t> part, sim_apdu_status& out);

// 1 when all parts are good. `out` has the words of the last part looked at.
int32_t sim_analyse_sim_apdu_result(const UtaSimApduCmdRspParam& answer, sim_apdu_status& out);
int32_t sim_analyse_apdu_result(const UtaSimApduCmdRspParam& answer, sim_apdu_status& out);  // the same as 0 or -1

struct sim_read_result {
    sim_apdu_status status;
    std::span<const uint8_t> data;  // of the answer
};
// The content that a read gave: 0, or -1. A result of exactly 258 bytes, 256 and the status words, has no data.
int32_t sms_sim_analyse_read_result(const UtaSimApduCmdRspParam& answer, sim_read_result& out);

// --- The properties of a file ----------------------------------------------------------------------------------------

enum sim_access : uint32_t {
    SIM_ACCESS_CHV1 = 0,
    SIM_ACCESS_CHV2 = 1,
    UAT_SIM_ACCESS_ALW = 2,
    SIM_ACCESS_RESERVED = 3,
    UAT_SIM_ACCESS_ADM = 4,
    UAT_SIM_ACCESS_NEV = 5,
};
enum sim_file_type : uint32_t { SIM_FILE_UNKNOWN = 0, SIM_FILE_EF = 1, SIM_FILE_DF = 3, SIM_FILE_MF = 5 };
enum sim_file_structure : uint32_t {
    SIM_STRUCTURE_UNKNOWN = 0,
    SIM_STRUCTURE_TRANSPARENT = 1,
    SIM_STRUCTURE_LINEAR_FIXED = 2,
    SIM_STRUCTURE_CYCLIC = 3,
};

struct sim_access_conditions {
    uint32_t read;
    uint32_t update;
    uint32_t rehabilitate;
    uint32_t invalidate;
};

// The rule that an access is looked up in (ETSI TS 102 221, 9.2.7).
struct sim_access_rule {
    uint16_t file_id;  // EF_ARR
    uint8_t record;
};

struct sim_file_properties {
    sim_apdu_status status;
    uint16_t file_id;
    uint16_t file_size;
    union {
        sim_access_conditions access;
        sim_access_rule rule;  // with ref_format 1
    };
    uint32_t ref_format;
    uint8_t num_records;
    uint8_t record_len;
    uint32_t file_type;
    uint32_t file_structure;
    uint32_t invalidated;
    uint32_t readable_when_invalidated;
};

// What the answer to a selection says of the file, from an FCP template (ETSI TS 102 221, 11.1.1.3) or from the 2G form
// (3GPP TS 51.011, 9.2.1). 0, also for a failed selection, which leaves all sizes at 0; -1 when the answer has no data;
// -5 for a null argument.
int32_t AGGSimAnalyseFilePropertyResult(const UtaSimApduCmdRspParam* answer, sim_file_properties* out);

// --- Hexadecimal text. Any thread ------------------------------------------------------------------------------------

// At most `out.size()` bytes; the number of them. A first digit that is none ends the text, a second one makes it 0.
size_t sim_util_convert_hex_to_bin(const char* hex, std::span<uint8_t> out);

// Upper case, with a terminator; the number of characters. `out` has room for 2 * bin.size() + 1.
size_t sim_util_convert_bin_to_hex(std::span<const uint8_t> bin, char* out);
