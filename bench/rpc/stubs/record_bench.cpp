// Packing and unpacking of a mix of records against the same content in protobuf's C++ runtime. Both sides work from a
// filled structure into a buffer that exists, and back into a structure that exists: protobuf's parser is given the
// same message each time, so that it finds its nested messages allocated.
//
// The two are timed in turn, many short runs of each, and every pair gives one ratio; the median of the ratios counts.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "bench/paired.h"
#include "records.pb.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

// The codec needs no transport; the stubs that are linked with it do.
uint32_t RPCMakeContextId() {
    return 0;
}
int AppSendPackedData(const uint8_t*, size_t) {
    return 1;
}
void RPCReleaseReturn(RpcReturn&) {}
int RPCSynchronousCall(uint32_t, uint32_t, std::span<const uint8_t>, RpcReturn&) {
    return 0;
}

namespace {

constexpr UtaNetPlmn c_plmn = {262, 2, 1};

UtaNetRegistrationInfoIndParam filled_record() {
    UtaNetRegistrationInfoIndParam record{};
    record.cs_status = 1;
    record.field_2 = 2;
    record.rej_cause = 22;
    record.second_cause = 255;
    record.ps_status = 1;
    record.field_6 = 6;
    record.field_7 = 7;
    record.field_8 = 8;
    record.network = {c_plmn, 2};
    record.band = 18;
    record.roaming = 1;
    record.field_12 = 12;
    record.lai = {c_plmn, {0x1234}};
    record.rai = {{c_plmn, {0x1234}}, 17};
    record.field_15 = 15;
    record.field_16 = 16;
    record.tai = {c_plmn, {0x4321}};
    record.field_18 = 18;
    record.field_19 = 19;
    return record;
}

void fill(bench::Plmn& plmn) {
    plmn.set_mcc(c_plmn.mcc);
    plmn.set_mnc(c_plmn.mnc);
    plmn.set_three_digit_mnc(c_plmn.three_digit_mnc);
}

void fill(bench::Lai& lai, uint32_t lac) {
    fill(*lai.mutable_plmn());
    lai.mutable_lac()->set_lac(lac);
}

void fill(bench::Registration& message, const UtaNetRegistrationInfoIndParam& record) {
    message.set_cs_status(record.cs_status);
    message.set_field_2(record.field_2);
    message.set_rej_cause(record.rej_cause);
    message.set_second_cause(record.second_cause);
    message.set_ps_status(record.ps_status);
    message.set_field_6(record.field_6);
    message.set_field_7(record.field_7);
    message.set_field_8(record.field_8);
    fill(*message.mutable_network()->mutable_plmn());
    message.mutable_network()->set_rat(record.network.rat);
    message.set_band(record.band);
    message.set_roaming(record.roaming);
    message.set_field_12(record.field_12);
    fill(*message.mutable_lai(), record.lai.lac.lac);
    fill(*message.mutable_rai()->mutable_lai(), record.rai.lai.lac.lac);
    message.mutable_rai()->set_rac(record.rai.rac);
    message.set_field_15(record.field_15);
    message.set_field_16(record.field_16);
    fill(*message.mutable_tai()->mutable_plmn());
    message.mutable_tai()->mutable_tac()->set_tac(record.tai.tac.tac);
    message.set_field_18(record.field_18);
    message.set_field_19(record.field_19);
}

// Every number has a value, since protobuf leaves out those that are 0.
UtaCallCsSetupVoiceCallReqParams filled_setup() {
    return {1, "+491701234567", 145, 2, 5, 6, 7, {8}, 9, 10, {11}, 12, {13}, 14};
}

void fill(bench::CallSetup& message, const UtaCallCsSetupVoiceCallReqParams& record) {
    message.set_call_type(record.call_type);
    message.set_number(record.number);
    message.set_number_type(record.number_type);
    message.set_clir(record.clir);
    message.set_field_5(record.field_5);
    message.set_field_6(record.field_6);
    message.set_field_7(record.field_7);
    message.mutable_field_8()->set_field_1(record.field_8.field_1);
    message.set_field_9(record.field_9);
    message.set_field_10(record.field_10);
    message.mutable_emergency()->set_field_1(11);
    message.set_field_12(record.field_12);
    message.set_field_13(record.field_13, 1);
    message.set_field_14(record.field_14);
}

// A message of 160 characters.
constexpr uint8_t c_pdu_length = 159;

UtaSmsIncomingParam filled_incoming() {
    UtaSmsIncomingParam record{};
    record.id = 3;
    record.field_2 = 1;
    record.field_3 = 2;
    record.message.status = 1;
    record.message.pdu.length = c_pdu_length;
    memset(record.message.pdu.data, 0x5A, c_pdu_length);
    return record;
}

void fill(bench::Incoming& message, const UtaSmsIncomingParam& record) {
    message.set_id(record.id);
    message.set_field_2(record.field_2);
    message.set_field_3(record.field_3);
    message.mutable_message()->set_status(record.message.status);
    message.mutable_message()->mutable_pdu()->set_length(record.message.pdu.length);
    message.mutable_message()->mutable_pdu()->set_data(record.message.pdu.data, record.message.pdu.length);
}

// A record of 32 octets with its status words, and the file's control parameters.
UtaSimApduCmdRspParam filled_answer() {
    static UtaSimApduData s_apdu = {34, {0x98, 0x94}};
    UtaSimApduCmdRspParam record{};
    record.field_1 = 1;
    record.result = 1;
    record.file.df_id = 0x7F20;
    record.file.df_len = 23;
    record.file.ef_id = 0x6FAD;
    record.file.ef_len = 15;
    memset(&record.file.df, 0x62, 23);
    memset(&record.file.ef, 0x62, 15);
    record.file.apdu = &s_apdu;
    return record;
}

void fill(bench::ApduAnswer& message, const UtaSimApduCmdRspParam& record) {
    message.set_field_1(record.field_1);
    message.set_result(record.result);
    bench::FileData& file = *message.mutable_file();
    file.set_df_id(record.file.df_id);
    file.set_df_len(record.file.df_len);
    file.mutable_df()->set_data(&record.file.df, static_cast<size_t>(record.file.df_len));
    file.set_ef_id(record.file.ef_id);
    file.set_ef_len(record.file.ef_len);
    file.mutable_ef()->set_data(&record.file.ef, static_cast<size_t>(record.file.ef_len));
    file.mutable_apdu()->set_length(record.file.apdu->length);
    file.mutable_apdu()->set_data(record.file.apdu->data, static_cast<size_t>(record.file.apdu->length));
}

UtaCallCsAcceptCallRspCbParams filled_accepted() {
    return {{1}, 2, 3};
}

void fill(bench::Accepted& message, const UtaCallCsAcceptCallRspCbParams& record) {
    message.mutable_call()->set_call_id(record.call.call_id);
    message.set_field_2(record.field_2);
    message.set_field_3(record.field_3);
}

template <typename T, typename Message>
struct Subject {
    T record;
    T read_record{};
    Message message;
    Message read_message;
    alignas(8) uint8_t wire[c_rpc_packet_max] = {};
    size_t wire_size = 0;
    alignas(8) uint8_t proto[c_rpc_packet_max] = {};
    size_t proto_size = 0;

    explicit Subject(const T& filled) : record(filled) { fill(message, record); }

    void pack_record(const T& from) {
        ExWriteCursor cursor{wire, wire + sizeof(wire) - 1, false};
        wire_size = uta::pack_record(uta::record_of<T>(), &from, cursor);
        benchmark::DoNotOptimize(wire);
    }
    void unpack_record(MemTable& mem_table) {
        memset(static_cast<void*>(&read_record), 0, sizeof(read_record));  // the unpacker's block comes zeroed
        ExReadCursor cursor{wire + sizeof(wire) - wire_size, wire + sizeof(wire), false};
        uta::unpack_record(uta::record_of<T>(), &read_record, cursor, mem_table);
        benchmark::DoNotOptimize(read_record);
    }
    void pack_message() {
        proto_size = message.ByteSizeLong();
        message.SerializeWithCachedSizesToArray(proto);
        benchmark::DoNotOptimize(proto);
    }
    void unpack_message() {
        read_message.ParseFromArray(proto, static_cast<int>(proto_size));
        benchmark::DoNotOptimize(read_message);
    }
    // Whether both sides read what they wrote.
    bool holds() {
        pack_message();
        unpack_message();
        pack_record(record);
        const std::string packed(wire + sizeof(wire) - wire_size, wire + sizeof(wire));
        MemTable mem_table{};
        unpack_record(mem_table);
        pack_record(read_record);
        ReleaseMemTable(mem_table);
        return packed == std::string(wire + sizeof(wire) - wire_size, wire + sizeof(wire)) &&
               message.SerializeAsString() == read_message.SerializeAsString();
    }
};

template <typename T, typename Message>
bool compare(const char* name, const T& filled) {
    constexpr int c_rounds = 1000;
    constexpr int c_pairs = 301;
    Subject<T, Message> it(filled);
    if (!it.holds()) {
        fprintf(stderr, "%s: what was read is not what was packed\n", name);
        return false;
    }
    const auto times = [](auto&& work) {
        return [&work](int rounds) {
            for (int i = 0; i < rounds; ++i) {
                work();
            }
        };
    };
    const auto pack = [&] { it.pack_record(it.record); };
    const auto pack_message = [&] { it.pack_message(); };
    const auto unpack = [&] {
        MemTable mem_table{};
        it.unpack_record(mem_table);
        ReleaseMemTable(mem_table);
    };
    const auto unpack_message = [&] { it.unpack_message(); };
    printf("%s: catalogue %zu bytes, protobuf %zu bytes\n", name, it.wire_size, it.proto_size);
    print_pairs("  packing", measure_pairs(times(pack), times(pack_message), c_rounds, c_pairs));
    print_pairs("  unpacking", measure_pairs(times(unpack), times(unpack_message), c_rounds, c_pairs));
    return true;
}

}  // namespace

int main() {
    const bool good = compare<UtaNetRegistrationInfoIndParam, bench::Registration>("registration", filled_record()) &&
                      compare<UtaCallCsSetupVoiceCallReqParams, bench::CallSetup>("call setup", filled_setup()) &&
                      compare<UtaSmsIncomingParam, bench::Incoming>("incoming message", filled_incoming()) &&
                      compare<UtaSimApduCmdRspParam, bench::ApduAnswer>("APDU answer", filled_answer()) &&
                      compare<UtaCallCsAcceptCallRspCbParams, bench::Accepted>("accepted call", filled_accepted());
    return good ? 0 : 1;
}
