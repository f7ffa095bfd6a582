// How a row of the dispatch table comes from a handler. What a handler's parameters say is checked once, here:
//
//     void ril_request_get_mute(const ril_request& request)                            no data is looked at
//     void ril_request_set_mute(const ril_request& request, int32_t mute)              one integer, or as many as stand
//     void ril_request_set_network_selection_manual(request_context&, const char*)     a text
//     void ril_request_enter_sim_pin(request_context&, ril_texts<1> texts)             at least so many texts
//     void ril_request_dial(request_context& context, const RIL_Dial& dial)            a record
//     void ril_request_setup_data_call(const ril_request& request, ril_data data)      unchecked, for what is to be
//                                                                                      answered before the data is seen
//
// A handler that begins with `const ril_request&` answers by itself, now or later. One that begins with
// `request_context&` is given a context; it says context.in_flight() once the modem has the request, and otherwise the
// request fails when it returns. Data that is null or too short completes with RIL_E_GENERIC_FAILURE and one log line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <utility>

#include "ril/core/src/async_ril/request.h"

// The data of a request as it came. Valid until the handler returns.
struct ril_data {
    void* p_data;
    size_t length;

    // The record at the front, or null where there is none.
    template <class Record>
    const Record* as() const {
        return p_data == nullptr || length < sizeof(Record) ? nullptr : static_cast<const Record*>(p_data);
    }
    // The texts, each of which may be null.
    std::span<const char* const> texts() const {
        return {static_cast<const char* const*>(p_data), p_data == nullptr ? 0 : length / sizeof(char*)};
    }
};

// At least `count` texts, each of which may be null.
template <size_t count>
struct ril_texts {
    std::span<const char* const> all;

    // Null behind the last one too.
    const char* operator[](size_t index) const { return index < all.size() ? all[index] : nullptr; }
    size_t size() const { return all.size(); }
};

struct request_row {
    void (*run)(const request_row& row, const ril_request& request, ril_data data);  // null: no handler
    const char* function;
    const char* bad_data;  // the log line; it is given the function's name and the sim_id
};

namespace rows {

void refuse_data(const request_row& row, const ril_request& request);

// How the data becomes the parameters behind the first.
template <class... Parameters>
struct reader;

template <>
struct reader<> {
    static bool fits(ril_data) { return true; }
    template <class Run>
    static void give(ril_data, Run run) {
        run();
    }
};

template <class... Integers>
requires(std::is_same_v<Integers, int32_t>&&...) struct reader<int32_t, Integers...> {
    using all = int32_t[1 + sizeof...(Integers)];
    static bool fits(ril_data data) { return data.as<all>() != nullptr; }
    template <class Run>
    static void give(ril_data data, Run run) {
        give_each(*data.as<all>(), run, std::make_index_sequence<1 + sizeof...(Integers)>());
    }
    template <class Run, size_t... index>
    static void give_each(const all& integers, Run run, std::index_sequence<index...>) {
        run(integers[index]...);
    }
};

template <>
struct reader<const char*> {
    static bool fits(ril_data data) { return data.p_data != nullptr; }
    template <class Run>
    static void give(ril_data data, Run run) {
        run(static_cast<const char*>(data.p_data));
    }
};

template <size_t count>
struct reader<ril_texts<count>> {
    static bool fits(ril_data data) { return data.texts().size() >= count; }
    template <class Run>
    static void give(ril_data data, Run run) {
        run(ril_texts<count>{data.texts()});
    }
};

template <class Record>
struct reader<const Record&> {
    static bool fits(ril_data data) { return data.as<Record>() != nullptr; }
    template <class Run>
    static void give(ril_data data, Run run) {
        run(*data.as<Record>());
    }
};

template <>
struct reader<ril_data> {
    static bool fits(ril_data) { return true; }
    template <class Run>
    static void give(ril_data data, Run run) {
        run(data);
    }
};

template <class... Parameters>
consteval request_row row_of(void (*)(const ril_request&, Parameters...), auto handler, const char* function,
                             const char* bad_data = "%s: No data or not enough data\n") {
    using call = decltype(handler);
    return {[](const request_row& row, const ril_request& request, ril_data data) {
                if (!reader<Parameters...>::fits(data)) {
                    refuse_data(row, request);
                    return;
                }
                reader<Parameters...>::give(data, [&](auto&&... values) { call::value(request, values...); });
            },
            function, bad_data};
}

template <class... Parameters>
consteval request_row row_of(void (*)(request_context&, Parameters...), auto handler, const char* function,
                             const char* bad_data = "%s: No data or not enough data\n") {
    using call = decltype(handler);
    return {[](const request_row& row, const ril_request& request, ril_data data) {
                if (!reader<Parameters...>::fits(data)) {
                    refuse_data(row, request);
                    return;
                }
                request_context context(request, row.function);
                if (context) {
                    reader<Parameters...>::give(data, [&](auto&&... values) { call::value(context, values...); });
                }
            },
            function, bad_data};
}

}  // namespace rows

// ROW(handler) or ROW(handler, "log line of bad data").
#define ROW(handler, ...) \
    rows::row_of(handler, std::integral_constant<decltype(&handler), &handler>{}, #handler __VA_OPT__(, ) __VA_ARGS__)
