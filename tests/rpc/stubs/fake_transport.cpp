#include "tests/rpc/stubs/fake_transport.h"

#include <algorithm>
#include <cstdlib>

#include "rpc/multi-client/rpc-stubs/ril/transport.h"

static FakeTransport s_fake;

FakeTransport& fake_transport() {
    return s_fake;
}

void reset_fake_transport() {
    s_fake = {};
}

uint32_t RPCMakeContextId() {
    return 0x20000100;
}

int AppSendPackedData(const uint8_t* packet, size_t length) {
    s_fake.one_way.emplace_back(packet, packet + length);
    return 1;
}

void RPCReleaseReturn(RpcReturn& ret) {
    free(ret.body);
    ret = {};
    --s_fake.unreleased;
}

int RPCSynchronousCall(uint32_t id, uint32_t context_id, std::span<const uint8_t> packet, RpcReturn& ret) {
    s_fake.calls.push_back({id, context_id, Bytes(packet.begin(), packet.end())});
    if (s_fake.returns.empty()) {
        return 0;
    }
    const Bytes body = s_fake.returns.front();
    s_fake.returns.pop_front();
    ret.body = static_cast<uint8_t*>(malloc(body.size()));  // exactly as long: a read past the end shows
    ret.length = body.size();
    std::copy(body.begin(), body.end(), ret.body);
    ++s_fake.unreleased;
    return 1;
}
