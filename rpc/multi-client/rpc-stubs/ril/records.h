// The records of records.def as structures in memory.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rpc/multi-client/rpc-stubs/ril/rows.h"

#define UTA_RECORD(name, tag, size, ...) \
    struct name {                        \
        __VA_ARGS__                      \
    };
#define FLAG(name) uint8_t name;
#define U8(name) uint8_t name;
#define I8(name) int8_t name;
#define U16(name) uint16_t name;
#define I16(name) int16_t name;
#define U32(name) uint32_t name;
#define I32(name) int32_t name;
#define ENUM(name) int32_t name;
#define ENUM8(name) uint8_t name;
#define OCTETS(name, n) uint8_t name[n];
#define OCTETS16(name, n) uint16_t name[n];
#define TEXT(name, n) char name[n];
#define U8_ROW(name, n) uint8_t name[n];
#define U16_ROW(name, n) uint16_t name[n];
#define I32_ROW(name, n) int32_t name[n];
#define REC(record, name) record name;
#define REC_ROW(record, name, n) record name[n];
#define OPT_REC(record, name) record* name;
#define COUNTED_OCTETS(name, count) uint8_t* name;
#define ELEMENTS(record, name, count) record* name;
#define UNION(name, discriminant, ...) \
    union {                            \
        __VA_ARGS__                    \
    } name;
#define CASE(value, record, member) record member;
#define CALLBACK(function, name) uta::Callback<uta::row::function>* name;
#define ARRAY(name) char name[1];
#define MEMORY(name, n) uint8_t name[n];
#include "rpc/multi-client/rpc-stubs/ril/records.def"

// The published sizes are those of i386.
#define UTA_RECORD(name, tag, size, ...) \
    static_assert(sizeof(void*) != 4 || (size) == 0 || sizeof(name) == (size), "size of " #name);
#include "rpc/multi-client/rpc-stubs/ril/records.def"
