#include "host/modem/modem.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

#include "host/modem/say.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"

namespace {

constexpr size_t c_passages_kept = 65536;

// A packet is built at its end, which is aligned as the wire's padding rule wants it.
struct PacketBuffer {
    alignas(8) std::array<uint8_t, 16384> bytes;
};

struct PacketHead {
    uint32_t index = 0;
    uint32_t context_id = 0;
    bool whole = false;  // it has a context id
};

PacketHead read_head(std::span<const uint8_t> packet) {
    PacketHead head;
    uint32_t size = 0;
    ExReadCursor cursor{packet.data(), packet.data() + packet.size(), false};
    ExReadBufferHeader(cursor, head.index, size);
    ExReadContextId(cursor, head.context_id);
    head.whole = !cursor.failed;
    return head;
}

std::string name_of(uint32_t id) {
    const uta::Function* function = uta::find_function(id);
    return function != nullptr ? uta::function_name(*function) : "function " + std::to_string(id);
}

bool is_response(uta::Kind kind) {
    return kind == uta::Kind::RESPONSE || kind == uta::Kind::IGNORED_RESPONSE || kind == uta::Kind::DYNAMIC_RESPONSE;
}

// The memory of the output parameters, where the client may have sent none, or an array shorter than it says.
class Outputs {
public:
    Outputs(const uta::Function& function, uta::Parameters& parameters) {
        const auto all = uta::parameters_of(function);
        for (size_t i = 0; i < all.size(); ++i) {
            if (all[i].type == uta::Type::array) {
                parameters.words[all[i].count_from] = parameters.words[i] == 0 ? 0 : parameters.scalars[i];
            } else if (all[i].output && parameters.words[i] == 0 && all[i].type == uta::Type::record) {
                blocks_.emplace_back(uta::c_records[all[i].aux].size / sizeof(uint64_t) + 1);
                parameters.words[i] = reinterpret_cast<uta::Word>(blocks_.back().data());
            }
        }
    }
    // Zeros, whatever the client sent.
    static void clear(const uta::Function& function, uta::Parameters& parameters) {
        const auto all = uta::parameters_of(function);
        for (size_t i = 0; i < all.size(); ++i) {
            if (!all[i].output || parameters.words[i] == 0) {
                continue;
            }
            size_t size = uta::memory_width(all[i].type);
            if (all[i].type == uta::Type::record) {
                size = uta::c_records[all[i].aux].size;
            } else if (all[i].type == uta::Type::array) {
                size = parameters.scalars[i];
            }
            memset(reinterpret_cast<void*>(parameters.words[i]), 0, size);
        }
    }

private:
    std::vector<std::vector<uint64_t>> blocks_;  // aligned for every record, and zero
};

}  // namespace

// --- Start -----------------------------------------------------------------------------------------------------------

std::unique_ptr<Modem> Modem::start(Loop& loop, Capture& capture, Settings settings, std::string& error) {
    std::unique_ptr<Modem> it(new Modem(loop, capture, settings));
    if (!it->start_manager(error)) {
        return nullptr;
    }
    return it;
}

Modem::Modem(Loop& loop, Capture& capture, Settings initial)
    : settings(initial), loop_(loop), capture_(capture), services_(modem_services()), chance_(initial.seed) {
    for (const Service& service : services_) {
        for (const Served& served : service.functions) {
            handlers_[served.id] = served.handle;
        }
    }
}

Modem::~Modem() = default;

bool Modem::start_manager(std::string& error) {
    switch_ = PowerSwitch::start(loop_, [this](bool on) {
        say("the power state file says %s", on ? "ON" : "OFF");
        if (on) {
            boot();
        } else {
            shut_down();
        }
    });
    if (switch_ == nullptr) {
        error = std::string(c_power_folder) + ": " + strerror(errno);
        return false;
    }
    link_ = ModemLinkServer::start(c_modem_link_path, {.registered = {},
                                                       .request =
                                                           [this](int, uint32_t request) {
                                                               if (request == c_request_reset) {
                                                                   loop_.post([this] { reset(); });
                                                               }
                                                           },
                                                       .gone = {}});
    if (link_ == nullptr) {
        error = std::string(c_modem_link_path) + ": " + strerror(errno);
        return false;
    }
    factory_channel_ = FactoryChannel::start(loop_, [this] { return power_ == Power::UP; });
    if (factory_channel_ == nullptr) {  // a phone can do without
        say("%s: %s", c_factory_path, strerror(errno));
    }
    return true;
}

bool Modem::open(std::string& error) {
    daemon_ = RpcDaemon::start(loop_, capture_,
                               {.arrived = [](ClientId) {},
                                .packet =
                                    [this](ClientId client, std::span<const uint8_t> packet) {
                                        take(client, {packet.begin(), packet.end()});
                                    },
                                .gone = [this](ClientId client) { contexts_.erase(client); }},
                               error);
    return daemon_ != nullptr;
}

// --- Power -----------------------------------------------------------------------------------------------------------

void Modem::set_power(Power power) {
    constexpr std::array<const char*, 4> c_names = {"off", "booting", "up", "hung"};
    if (power != power_) {
        say("%s", c_names[static_cast<size_t>(power)]);
    }
    power_ = power;
}

void Modem::lose_power() {
    flush();
    ++power_cycle_;
    set_power(Power::OFF);
    for (const Service& service : services_) {
        if (service.forget != nullptr) {
            service.forget();
        }
    }
}

void Modem::event(uint32_t code) {
    std::array<uint8_t, 4> bytes;
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<uint8_t>(code >> (8 * (bytes.size() - 1 - i)));
    }
    capture_.add(0, Channel::EVENT, false, bytes);
    // Whoever comes later has to learn that the modem is up. Of a modem that is not, it hears when that changes.
    if (code == E_MODEM_UP) {
        link_->announce(code);
        return;
    }
    if (code == E_MODEM_DOWN) {
        link_->forget();
    }
    link_->broadcast(code);
}

void Modem::boot() {
    if (power_ != Power::OFF) {
        return;
    }
    switch_->set(true);
    set_power(Power::BOOTING);
    later(settings.boot_delay, [this] { up(); });
}

void Modem::up() {
    switch_->set(true);
    set_power(Power::UP);
    event(E_MODEM_UP);
}

void Modem::down() {
    lose_power();
    event(E_MODEM_DOWN);
}

void Modem::crash() {
    down();
    boot();
}

void Modem::reset() {
    event(E_MODEM_RESET);
    crash();
}

void Modem::shut_down() {
    event(E_MODEM_SHUTDOWN);
    down();
    for (const Service& service : services_) {
        if (service.phone_off != nullptr) {
            service.phone_off();
        }
    }
    switch_->set(false);
}

void Modem::hang() {
    if (power_ == Power::UP) {
        set_power(Power::HUNG);
    }
}

void Modem::later(Loop::Milliseconds delay, std::function<void()> work) {
    loop_.after(delay, [this, cycle = power_cycle_, work = std::move(work)] {
        if (cycle == power_cycle_) {
            collecting_ = settings.seed != 0;
            work();
            collecting_ = false;
            flush();
        }
    });
}

void Modem::stack_switched(uint32_t sim_id, bool stack_on, bool card_on) {
    for (const Service& service : services_) {
        if (service.stack_switched != nullptr) {
            service.stack_switched(*this, sim_id, stack_on, card_on);
        }
    }
}

void Modem::card_changed(uint32_t sim_id) {
    for (const Service& service : services_) {
        if (service.card_changed != nullptr) {
            service.card_changed(*this, sim_id);
        }
    }
}

// --- From the clients ------------------------------------------------------------------------------------------------

void Modem::take(ClientId client, const Bytes& packet) {
    const PacketHead head = read_head(packet);
    if (!head.whole) {
        say("client %u: a packet without a context id", app_id_of(client));
        return;
    }
    const uta::Function* function = uta::find_function(head.index);
    if (function != nullptr && function->kind == uta::Kind::REQUEST) {
        contexts_[client] = head.context_id;
    }
    note(client, head.index);
    if (power_ != Power::UP) {
        say("client %u: %s is lost", app_id_of(client), name_of(head.index).c_str());
        return;
    }
    const auto id = static_cast<uint16_t>(function != nullptr ? function->id : 0);
    if (faults.take(id, Fault::DROP)) {
        return;
    }
    if (const auto delay = faults.take(id, Fault::LATE)) {
        later(Loop::Milliseconds(*delay),
              [this, client, function, head, packet] { answer(client, function, head.index, packet); });
        return;
    }
    answer(client, function, head.index, packet);
}

void Modem::answer(ClientId client, const uta::Function* function, uint32_t index, const Bytes& packet) {
    const uint32_t context_id = read_head(packet).context_id;
    if (power_ != Power::UP) {
        return;
    }
    if (function == nullptr) {
        say("client %u: %s is not known", app_id_of(client), name_of(index).c_str());
        send_return(client, index, context_id, c_success);
        return;
    }
    if (!uta::is_outgoing(function->kind)) {
        say("client %u: %s goes the other way", app_id_of(client), uta::function_name(*function));
        return;
    }
    if (const auto refused = faults.take(function->id, Fault::REFUSE)) {
        if (function->kind != uta::Kind::ONE_WAY) {
            send_return(client, index, context_id, *refused);
        }
        return;
    }
    execute(client, *function, packet);
}

void Modem::execute(ClientId client, const uta::Function& function, const Bytes& packet) {
    uta::Parameters parameters;
    uint32_t context_id = read_head(packet).context_id;
    int32_t result = c_success;
    const bool answered = function.kind != uta::Kind::ONE_WAY;
    if (function.pending) {
        if (answered) {
            send_return(client, function.id, context_id, result);
        }
        return;
    }
    if (!uta::unpack_packet(function, std::span(packet).subspan(c_rpc_header_size), context_id, parameters)) {
        say("client %u: %s is malformed", app_id_of(client), uta::function_name(function));
        if (answered) {
            send_return(client, function.id, context_id, c_refused);
        }
        return;
    }
    const Outputs outputs(function, parameters);
    const auto handler = handlers_.find(function.id);
    const bool no_stack = function.has_sim && parameters.words[0] >= c_stacks;
    if (no_stack && function.kind == uta::Kind::REQUEST) {
        result = c_refused;  // there is nobody to respond
    } else if (!no_stack && handler != handlers_.end()) {
        result = handler->second(*this, {client, context_id}, parameters.words);
    } else {
        Outputs::clear(function, parameters);
    }
    if (!answered || power_ != Power::UP) {
        return;
    }
    PacketBuffer buffer;
    const std::span<uint8_t> reply = uta::pack_return(function, context_id, result, parameters.words, buffer.bytes);
    daemon_->send(client, reply);
}

// --- To the clients --------------------------------------------------------------------------------------------------

// A return without output parameters: of a call that didn't take effect, or whose parameters are not known.
void Modem::send_return(ClientId client, uint32_t index, uint32_t context_id, int32_t result) {
    PacketBuffer buffer;
    ExWriteCursor cursor{buffer.bytes.data(), buffer.bytes.data() + buffer.bytes.size() - 1, false};
    size_t length = EXPackINT32(&result, cursor);
    length += ExWriteContextId(cursor, context_id);
    length += ExWriteBufferHeader(cursor, index + c_rpc_return_base, length);
    daemon_->send(client, {cursor.next + 1, length});
}

void Modem::send_words(ClientId client, const uta::Function& function, uint32_t context_id, const uta::Word* words) {
    PacketBuffer buffer;
    const std::span<uint8_t> packet = uta::pack_packet(function, context_id, words, buffer.bytes);
    if (power_ != Power::UP || (settings.silent && is_response(function.kind)) ||
        faults.take(function.id, Fault::DROP)) {
        return;
    }
    if (const auto delay = faults.take(function.id, Fault::LATE)) {
        later(Loop::Milliseconds(*delay), [this, client, bytes = Bytes(packet.begin(), packet.end())] {
            if (power_ == Power::UP) {
                inject(client, bytes);
            }
        });
        return;
    }
    if (collecting_) {
        collected_.push_back({client, {packet.begin(), packet.end()}, is_response(function.kind)});
    } else {
        inject(client, packet);
    }
}

// Any order in which the responses keep theirs and the indications theirs is as likely as any other.
void Modem::flush() {
    const auto responds = [](const Outgoing& out) { return out.is_response; };
    std::deque<Outgoing> waiting = std::exchange(collected_, {});
    auto response = std::stable_partition(waiting.begin(), waiting.end(), responds);
    auto next = waiting.begin();
    const auto last = response;
    for (size_t left = waiting.size(); left > 0; --left) {
        const auto responses = static_cast<size_t>(last - next);
        auto& from = chance_() % left < responses ? next : response;
        inject(from->client, from->packet);
        ++from;
    }
}

void Modem::set_seed(uint32_t seed) {
    settings.seed = seed;
    chance_.seed(seed);
}

void Modem::inject(ClientId client, std::span<const uint8_t> packet) {
    daemon_->send(client, packet);
    const PacketHead head = read_head(packet);
    if (head.whole) {
        note(client, head.index);
    }
}

// --- For scenarios ---------------------------------------------------------------------------------------------------

void Modem::note(ClientId client, uint32_t function) {
    if (function > std::numeric_limits<uint16_t>::max()) {
        return;
    }
    passages_.push_back({next_passage_++, static_cast<uint16_t>(function), app_id_of(client)});
    if (passages_.size() > c_passages_kept) {
        passages_.pop_front();
    }
    if (on_passage) {
        on_passage();
    }
}

std::optional<Passage> Modem::find_passage(uint64_t after, uint16_t function) const {
    if (passages_.empty()) {
        return std::nullopt;
    }
    const uint64_t first = passages_.front().number;
    for (size_t i = after < first ? 0 : static_cast<size_t>(after + 1 - first); i < passages_.size(); ++i) {
        if (passages_[i].function == function) {
            return passages_[i];
        }
    }
    return std::nullopt;
}

std::optional<ClientId> Modem::find_client(uint8_t app_id) const {
    for (const ClientState& client : daemon_->clients()) {
        if (app_id_of(client.id) == app_id) {
            return client.id;
        }
    }
    return std::nullopt;
}

uint32_t Modem::last_context(ClientId client) const {
    const auto at = contexts_.find(client);
    return at != contexts_.end() ? at->second : base_context(client);
}

std::string Modem::describe() const {
    constexpr std::array<const char*, 4> c_names = {"off", "booting", "up", "hung"};
    std::string text = std::string("modem ") + c_names[static_cast<size_t>(power_)] + ", version " +
                       std::to_string(settings.version) + ", latency " + std::to_string(settings.latency.count()) +
                       " ms, boot delay " + std::to_string(settings.boot_delay.count()) + " ms" + ", seed " +
                       std::to_string(settings.seed) + (settings.silent ? ", responses silent" : "");
    for (const ClientState& client : daemon_->clients()) {
        text += "\nclient " + std::to_string(app_id_of(client.id)) + ", process " + std::to_string(client.process) +
                ", " + std::to_string(client.received) + " packets from it, " + std::to_string(client.sent) +
                " to it, " + std::to_string(client.waiting) + " bytes waiting";
    }
    for (const Service& service : services_) {
        if (service.describe != nullptr) {
            text += std::string("\n") + service.name + ": " + service.describe();
        }
    }
    const std::string wrong = faults.describe();
    return wrong.empty() ? text : text + "\n" + wrong;
}
