// A queue of a hundred commands to the card, from the first RIL_REQUEST_SIM_IO to the last completion, against the same
// hundred exchanges without the queue, one after the other over the same sockets.
//   sim_bench               the ratio
//   sim_bench header N      N conversions of a full FCP template, to count instructions with a profiler
//   sim_bench record N      N conversions of a record of 176 bytes to text
#include <semaphore.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "bench/paired.h"
#include "bench/peer.h"
#include "host/android/modem_link_server.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/sim/apdu.h"
#include "ril/core/src/sim/fcp.h"
#include "ril/core/src/sim/sim.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/fake_android.h"

namespace {

constexpr int c_commands = 100;
sem_t s_done;

// The card's answer to a read of a record of 176 bytes.
std::span<const uint8_t> record_answer() {
    alignas(8) static uint8_t s_buffer[4096];
    UtaSimApduData apdu{};
    apdu.length = 178;
    memset(apdu.data, 0x55, 176);
    apdu.data[176] = 0x90;
    UtaSimApduCmdRspParam param{};
    param.file.apdu = &apdu;
    const uta::Word words[] = {0, reinterpret_cast<uta::Word>(&param), 0x20000100};
    return uta::pack_packet(*uta::find_function(uint32_t{uta::row::UtaMsSimApduCmdRspCb::id}), 0x20000100, words,
                            s_buffer);
}

void drain_queue(const RIL_RadioFunctions* ril, int commands) {
    char path[] = "3F007F10";
    RIL_SIM_IO_v6 io{};
    io.command = 0xB2;
    io.fileid = 0x6F3C;
    io.path = path;
    io.p1 = 1;
    io.p2 = 4;
    io.p3 = 176;
    for (int i = 0; i < commands; ++i) {
        ril->onRequest(RIL_REQUEST_SIM_IO, &io, sizeof(io), FakeAndroid::token(1));
    }
    for (int i = 0; i < commands; ++i) {
        sem_wait(&s_done);
    }
}

// Each on a context that is answered by a callback of the bench's own.
void exchange_bare(int commands) {
    for (int i = 0; i < commands; ++i) {
        const auto ctxt_id = static_cast<uint32_t>(qelril_get_free_ctxt_id(nullptr));
        void* nothing = nullptr;
        UtaSimApduData apdu;
        sms_sim_create_read_record_apdu(0, 1, 176, apdu);
        const UtaSimApduCmdReqParam request = {0, SIM_SELECT_THEN_APDU, sim_file_path(0, c_sim_df_telecom, 0x6F3C),
                                               &apdu};
        const rilreq_rspcb done = [](uint32_t, const void*, uint32_t id) {
            qelril_free_and_return(id);
            sem_post(&s_done);
        };
        if (qelril_create_multi_mod_priv(ctxt_id, 0, 0, &nothing) != 0 || !sim_apdu_expect(ctxt_id, done) ||
            RemUtaMsSimApduCmdReq(0, &request, uta_context_id(ctxt_id)) != 0) {
            fprintf(stderr, "the exchange failed\n");
            exit(1);
        }
        sem_wait(&s_done);
    }
}

void convert(std::string_view what, int times) {
    constexpr std::string_view c_template = "621E82054221001C3C83026F3CA503C001008A01058B036F0601800206908800";
    ts_51011_record header;
    uint8_t record[176] = {};
    char text[2 * sizeof(record) + 1];
    for (int i = 0; i < times; ++i) {
        if (what == "header") {
            sim_convert_fcp_to_ts_51011(c_template, header);
        } else {
            sim_util_convert_bin_to_hex(record, text);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3) {
        convert(argv[1], atoi(argv[2]));
        return 0;
    }
    sem_init(&s_done, 0, 0);
    Peer peer(uta::row::UtaMsSimApduCmdReq::id);
    peer.answer_with(uta::row::UtaMsSimApduCmdReq::id, record_answer());
    const auto link = ModemLinkServer::start(c_modem_link_path, {});
    link->announce(0xB2000000);
    char name[] = "rild";
    char* arguments[] = {name, nullptr};
    const RIL_RadioFunctions* ril = RIL_Init(FakeAndroid::env(), 1, arguments);
    set_radio_state(0, RADIO_STATE_ON);
    sim_set_inserted_sim_type(0, SIM_CARD_TYPE_3G);
    FakeAndroid::instance().set_observer({[](RIL_Token, RIL_Errno, const void*, size_t) { sem_post(&s_done); }, {}});
    const auto forget = [] {
        FakeAndroid::instance().advance(5000);
        FakeAndroid::instance().reset();
    };
    const PairedResult result = measure_pairs(
        [&](int commands) {
            drain_queue(ril, commands);
            forget();
        },
        [&](int commands) {
            exchange_bare(commands);
            forget();
        },
        c_commands, 200);
    print_pairs("a queue of 100 RIL_REQUEST_SIM_IO, for each", result);
    return 0;
}
