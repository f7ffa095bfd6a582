// Packing and unpacking of the registration record against the same content in protobuf's C++ runtime. Both sides work
// from a filled structure into a buffer that exists, and back into a structure that exists: protobuf's parser is given
// the same message each time, so that it finds its nested messages allocated.
//
// The two are timed in turn, many short runs of each, and every pair gives one ratio; the median of the ratios counts.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "registration.pb.h"
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

struct Subject {
    UtaNetRegistrationInfoIndParam record = filled_record();
    UtaNetRegistrationInfoIndParam read_record{};
    bench::Registration message;
    bench::Registration read_message;
    alignas(8) uint8_t wire[c_rpc_packet_max] = {};
    size_t wire_size = 0;
    alignas(8) uint8_t proto[c_rpc_packet_max] = {};
    size_t proto_size = 0;

    Subject() {
        fill(message, record);
        pack_record();
        pack_message();
        unpack_record();
        unpack_message();
    }

    void pack_record() {
        ExWriteCursor cursor{wire, wire + sizeof(wire) - 1, false};
        wire_size = uta::pack_record(uta::record_of<UtaNetRegistrationInfoIndParam>(), &record, cursor);
        benchmark::DoNotOptimize(wire);
    }
    bool unpack_record() {
        memset(&read_record, 0, sizeof(read_record));  // the unpacker's block comes zeroed
        MemTable mem_table{};
        ExReadCursor cursor{wire + sizeof(wire) - wire_size, wire + sizeof(wire), false};
        const bool whole =
            uta::unpack_record(uta::record_of<UtaNetRegistrationInfoIndParam>(), &read_record, cursor, mem_table);
        benchmark::DoNotOptimize(read_record);
        return whole;
    }
    void pack_message() {
        proto_size = message.ByteSizeLong();
        message.SerializeWithCachedSizesToArray(proto);
        benchmark::DoNotOptimize(proto);
    }
    bool unpack_message() {
        const bool whole = read_message.ParseFromArray(proto, static_cast<int>(proto_size));
        benchmark::DoNotOptimize(read_message);
        return whole;
    }
};

template <typename Work>
double nanoseconds(Work&& work) {
    constexpr int c_rounds = 2000;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < c_rounds; ++i) {
        work();
    }
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    return taken.count() / c_rounds;
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

template <typename Ours, typename Theirs>
void compare(const char* what, Ours&& ours, Theirs&& theirs) {
    std::vector<double> ratios;
    std::vector<double> our_times;
    std::vector<double> their_times;
    for (int pair = 0; pair < 301; ++pair) {
        our_times.push_back(nanoseconds(ours));
        their_times.push_back(nanoseconds(theirs));
        ratios.push_back(our_times.back() / their_times.back());
    }
    printf("%-10s  catalogue %7.1f ns  protobuf %7.1f ns  ratio %.2f\n", what, median(our_times), median(their_times),
           median(ratios));
}

}  // namespace

int main() {
    Subject subject;
    const std::string packed(subject.wire, subject.wire + sizeof(subject.wire));
    subject.record = subject.read_record;
    subject.pack_record();
    const bool same = packed == std::string(subject.wire, subject.wire + sizeof(subject.wire)) &&
                      subject.message.SerializeAsString() == subject.read_message.SerializeAsString();
    if (!same) {
        fprintf(stderr, "what was read is not what was packed\n");
        return 1;
    }
    printf("registration record: catalogue %zu bytes, protobuf %zu bytes\n", subject.wire_size, subject.proto_size);
    compare(
        "packing", [&] { subject.pack_record(); }, [&] { subject.pack_message(); });
    compare(
        "unpacking", [&] { subject.unpack_record(); }, [&] { subject.unpack_message(); });
    return 0;
}
