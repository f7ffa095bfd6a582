// The rows of functions.def as types: one structure per function, with its parameters as a list. Stubs, entry points
// and callbacks take their C++ signatures from here.
#pragma once

#include <cstddef>
#include <cstdint>

// Every record, also those that are not spelled out yet.
#define UTA_RECORD(name, ...) struct name;
#define UTA_PENDING(name, ...) struct name;
#include "rpc/multi-client/rpc-stubs/ril/records.def"

namespace uta {

// Position of each record in the tables of catalogue.h.
enum class RecordId : uint16_t {
#define UTA_RECORD(name, ...) name,
#define UTA_PENDING(name, ...) name,
#include "rpc/multi-client/rpc-stubs/ril/records.def"
    count
};

template <typename T>
struct RecordTraits;

#define UTA_RECORD(name, ...)                          \
    template <>                                        \
    struct RecordTraits<name> {                        \
        static constexpr RecordId id = RecordId::name; \
        static constexpr bool live = true;             \
    };
#define UTA_PENDING(name, ...)                         \
    template <>                                        \
    struct RecordTraits<name> {                        \
        static constexpr RecordId id = RecordId::name; \
        static constexpr bool live = false;            \
    };
#include "rpc/multi-client/rpc-stubs/ril/records.def"

enum class Kind : uint8_t {
    CALL,
    REQUEST,
    ONE_WAY,
    RESPONSE,
    INDICATION,
    IGNORED_RESPONSE,
    IGNORED_INDICATION,
    DYNAMIC_RESPONSE,
    DYNAMIC_INDICATION
};

// How a function departs from its family; a set of bits.
enum Variation : uint8_t { PLAIN = 0, NO_HEADER = 1, PRESENCE = 2, ENUM_RESULT = 4, MAY_BE_NULL = 8 };

// What a field of a record or a parameter of a function is.
enum class Type : uint8_t {
    u8,
    i8,
    u16,
    i16,
    u32,
    i32,
    enumeration,  // up to here numbers of 8, 16 and 32 bits, in memory as on the wire
    flag,
    enum8,  // 8 bits in memory, 32 on the wire
    callback,
    context_id,  // parameters only: a u32 in the record UtaContextId
    octets,
    text,
    octets16,
    array,  // octets whose number another parameter tells
    record,
    optional,
    counted_octets,
    elements,
    union_,
    case_,  // stands behind its union_
    memory,
    begin,  // this and what follows are among the codec's steps only
    end,
    settle
};

// One parameter as all generic code passes it: the value of a scalar, zero-extended, or a pointer. Output parameters
// are pointers.
using Word = uintptr_t;

constexpr size_t c_max_parameters = 5;

template <typename... P>
struct List {
    static constexpr size_t size = sizeof...(P);
    static constexpr bool live = (P::live && ...);
};

namespace param {

template <typename C, typename Bits>
struct Scalar {
    using Argument = C;
    static constexpr bool live = true;
    static Word word(Argument value) { return static_cast<Bits>(value); }
    static Argument value(Word word) { return static_cast<C>(static_cast<Bits>(word)); }
};

template <typename Pointer, bool c_live = true>
struct ByPointer {
    using Argument = Pointer;
    static constexpr bool live = c_live;
    static Word word(Argument value) { return reinterpret_cast<Word>(value); }
    static Argument value(Word word) { return reinterpret_cast<Argument>(word); }
};

using Unsigned32 = Scalar<uint32_t, uint32_t>;
using Signed32 = Scalar<int32_t, uint32_t>;
using Signed16 = Scalar<int16_t, uint16_t>;
using Unsigned8 = Scalar<uint8_t, uint8_t>;
using Out32 = ByPointer<int32_t*>;
using Out8 = ByPointer<uint8_t*>;
using OutArray = ByPointer<char*>;

template <typename T>
using Record = ByPointer<const T*, RecordTraits<T>::live>;
template <typename T>
using OutRecord = ByPointer<T*, RecordTraits<T>::live>;

}  // namespace param

// The type of a callback that is delivered by the dynamic row `Row`.
template <typename Parameters>
struct CallbackOf;
template <typename... P>
struct CallbackOf<List<P...>> {
    using Function = void(typename P::Argument...);
};
template <typename Row>
using Callback = typename CallbackOf<typename Row::Parameters>::Function;

namespace param {

template <typename Row>
struct CallbackParameter {
    using Argument = Callback<Row>*;
    static constexpr bool live = true;
    static Word word(Argument value) { return reinterpret_cast<Word>(value); }
};

}  // namespace param

namespace row {

#define UTA_FUNCTION(id, tag, name, ...) struct name;
#include "rpc/multi-client/rpc-stubs/ril/functions.def"

#define UTA_FUNCTION(c_id, c_tag, name, c_kind, c_variation, ...) \
    struct name {                                                 \
        static constexpr uint16_t id = c_id;                      \
        static constexpr Kind kind = Kind::c_kind;                \
        using Parameters = List<__VA_ARGS__>;                     \
    };
#define UTA_RESERVED UTA_FUNCTION
#define SIM param::Unsigned32
#define CTX param::Unsigned32
#define I32(name) param::Signed32
#define ENUM(name) param::Signed32
#define U8(name) param::Unsigned8
#define I16(name) param::Signed16
#define REC(record, name) param::Record<record>
#define CALLBACK(function, name) param::CallbackParameter<function>
#define OUT_I32(name) param::Out32
#define OUT_ENUM(name) param::Out32
#define OUT_U8(name) param::Out8
#define OUT_REC(record, name) param::OutRecord<record>
#define OUT_ARRAY(record, name, n) param::OutArray
#include "rpc/multi-client/rpc-stubs/ril/functions.def"

}  // namespace row
}  // namespace uta
