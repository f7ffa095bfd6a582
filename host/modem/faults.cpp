#include "host/modem/faults.h"

#include <array>

#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

void Faults::set(uint16_t function, Fault fault, int32_t value, bool once) {
    entries_[{function, fault}] = {value, once};
}

void Faults::clear(uint16_t function) {
    std::erase_if(entries_,
                  [function](const auto& entry) { return function == c_every || entry.first.first == function; });
}

std::optional<int32_t> Faults::take(uint16_t function, Fault fault) {
    auto at = entries_.find({function, fault});
    if (at == entries_.end()) {
        at = entries_.find({c_every, fault});
    }
    if (at == entries_.end()) {
        return std::nullopt;
    }
    const Entry entry = at->second;
    if (entry.once) {
        entries_.erase(at);
    }
    return entry.value;
}

std::string Faults::describe() const {
    constexpr std::array<const char*, 3> c_names = {"refuse", "late", "drop"};
    std::string text;
    for (const auto& [key, entry] : entries_) {
        const auto& [id, fault] = key;
        const uta::Function* function = uta::find_function(uint32_t{id});
        text += text.empty() ? "" : "\n";
        text += std::string(c_names[static_cast<size_t>(fault)]) + " ";
        text += function != nullptr ? uta::function_name(*function) : id == c_every ? "*" : std::to_string(id);
        text += fault == Fault::DROP ? "" : " " + std::to_string(entry.value);
        text += entry.once ? " once" : "";
    }
    return text;
}
