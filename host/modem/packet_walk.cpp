#include "host/modem/packet_walk.h"

#include <array>
#include <cstdio>

#include "host/modem/catalogue_print.h"
#include "host/modem/value_names.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

namespace {

using uta::Type;

constexpr uint8_t c_absent = 2;  // presence byte of a record that does not follow

std::string hex_word(uint64_t value) {
    std::array<char, 20> text;
    snprintf(text.data(), text.size(), "0x%08llX", static_cast<unsigned long long>(value));
    return text.data();
}

bool is_signed(Type type) {
    return type == Type::i8 || type == Type::i16 || type == Type::i32 || type == Type::i64 || type == Type::enumeration;
}

std::string number_text(Type type, uint64_t value, std::string_view owner, std::string_view name) {
    if (type == Type::callback || type == Type::context_id) {
        return hex_word(value);
    }
    if (!is_signed(type)) {
        return std::to_string(value);
    }
    const unsigned spare = 64U - 8U * static_cast<unsigned>(uta::wire_width(type));
    const int64_t number = static_cast<int64_t>(value << spare) >> spare;
    const std::string_view known = value_name(owner, name, number);
    return std::to_string(number) + (known.empty() ? "" : ":" + std::string(known));
}

std::string quoted(std::span<const uint8_t> bytes) {
    std::string text = "\"";
    for (const uint8_t byte : bytes) {
        if (byte < 0x20 || byte > 0x7E) {
            text += "\\x" + to_hex({&byte, 1});
        } else {
            text += byte == '"' || byte == '\\' ? "\\" : "";
            text += static_cast<char>(byte);
        }
    }
    return text + "\"";
}

// Zeros at the end are left out, for most strings are longer than what is in them.
std::span<const uint8_t> without_zeros(std::span<const uint8_t> bytes) {
    while (!bytes.empty() && bytes.back() == 0) {
        bytes = bytes.first(bytes.size() - 1);
    }
    return bytes;
}

// `[count]`, then the elements: bytes in hexadecimal, longer ones in the order of an i386 memory as numbers.
std::string octets_text(std::span<const uint8_t> bytes, size_t count, size_t width) {
    std::string text = "[" + std::to_string(count) + "]";
    const std::span<const uint8_t> told = without_zeros(bytes);
    if (width == 1) {
        return text + to_hex(told);
    }
    for (size_t at = 0; at < told.size(); at += width) {
        uint64_t value = 0;
        for (size_t i = width; i-- > 0;) {
            value = value << 8 | bytes[at + i];
        }
        text += (at == 0 ? "" : ",") + std::to_string(value);
    }
    return text;
}

}  // namespace

struct PacketWalk::Frame {
    const uta::Record& record;
    std::string path;
    std::vector<Fields> fields;    // by field
    std::vector<uint64_t> values;  // of the numbers, by field

    Frame(const uta::Record& of, std::string at)
        : record(of), path(std::move(at)), fields(of.n_fields), values(of.n_fields) {}
    std::string path_of(size_t index) const {
        return (path.empty() ? "" : path + ".") + uta::field_name(record, index);
    }
    // The value of the number at `offset` of the record's memory.
    uint64_t value_at(uint16_t offset) const {
        const auto all = uta::fields_of(record);
        for (size_t i = 0; i < all.size(); ++i) {
            if (uta::is_number(all[i].type) && all[i].offset == offset) {
                return values[i];
            }
        }
        return 0;
    }
};

PacketWalk::PacketWalk(std::span<const uint8_t> packet)
    : packet_(packet), cursor_{packet.data(), packet.data() + packet.size(), false} {}

std::span<const uint8_t> PacketWalk::rest() const {
    return packet_.subspan(static_cast<size_t>(cursor_.next - packet_.data()));
}

void PacketWalk::complain(const std::string& reason) {
    complaint_ +=
        (complaint_.empty() ? "" : ", ") + reason + " at byte " + std::to_string(cursor_.next - packet_.data());
}

bool PacketWalk::fail(const std::string& reason) {
    if (!failed_) {
        complain(reason);
        failed_ = true;
    }
    return false;
}

bool PacketWalk::at_null() const {
    return left() >= 2 && cursor_.next[0] == 0x05 && cursor_.next[1] == 0x00;
}

// --- Numbers and headers ---------------------------------------------------------------------------------------------

bool PacketWalk::number(size_t width, uint64_t& value) {
    ExReadCursor cursor = cursor_;
    uint8_t byte = 0;
    uint16_t half = 0;
    uint32_t word = 0;
    uint64_t wide = 0;
    switch (width) {
        case 1:
            EXUnpackUINT8(&byte, cursor);
            value = byte;
            break;
        case 2:
            EXUnpackUINT16(&half, cursor);
            value = half;
            break;
        case 4:
            EXUnpackUINT32(&word, cursor);
            value = word;
            break;
        default:
            EXUnpackUINT64(&wide, cursor);
            value = wide;
            break;
    }
    if (cursor.failed) {
        return fail("no number of " + std::to_string(width) + " bytes");
    }
    cursor_ = cursor;
    return true;
}

bool PacketWalk::skip_header() {
    uint32_t index = 0;
    uint32_t size = 0;
    ExReadCursor cursor = cursor_;
    ExReadBufferHeader(cursor, index, size);
    if (cursor.failed) {
        return fail("no packet header");
    }
    cursor_ = cursor;
    return true;
}

bool PacketWalk::context_id(uint32_t& context_id) {
    ExReadCursor cursor = cursor_;
    ExReadContextId(cursor, context_id);
    if (cursor.failed) {
        return fail("no context id");
    }
    cursor_ = cursor;
    return true;
}

// Reads the header of a function or record and narrows the walk to its content. The client doesn't look at the tag, so
// another one than the catalogue's is told and no reason to stop. Content that is cut short is read as far as it goes;
// `outer_end` is null then.
bool PacketWalk::enter(uint32_t tag, const std::string& what, const uint8_t*& outer_end, Fields& fields) {
    ExReadCursor cursor = cursor_;
    ExBerHeader header;
    EXReadBERHeader(cursor, header);
    if (cursor.failed || header.tag_class != c_ber_application || header.constructed != 1) {
        return fail("no header of " + what);
    }
    if (header.tag != tag) {
        fields.push_back({"!tag", "tag", std::to_string(header.tag) + " for " + what});
    }
    cursor_ = cursor;
    outer_end = cursor_.end;
    if (header.length > left()) {
        complain("a header of " + what + " with " + std::to_string(header.length) + " bytes where " +
                 std::to_string(left()) + " are left");
        outer_end = nullptr;
        return true;
    }
    cursor_.end = cursor_.next + header.length;
    return true;
}

bool PacketWalk::leave(const std::string& what, const uint8_t* outer_end) {
    if (outer_end == nullptr) {
        return !stopped();
    }
    if (!stopped() && left() != 0) {
        fail(std::to_string(left()) + " bytes too many in " + what);
    }
    cursor_.end = outer_end;
    return !stopped();
}

// --- Records ---------------------------------------------------------------------------------------------------------

bool PacketWalk::octets(const uta::Field& field, const std::string& path, Fields& fields) {
    const std::string type = field_type(field);
    if (at_null()) {
        cursor_.next += 2;
        fields.push_back({path, type, "null"});
        return true;
    }
    const ExReadCursor start = cursor_;
    ExBerHeader header;
    EXReadBERHeader(cursor_, header);
    if (cursor_.failed || header.tag_class != c_ber_application || header.constructed != 0) {
        cursor_ = start;
        return fail("no octet string");
    }
    uint64_t total = 0;
    uint64_t pad = 0;
    if (!number(sizeof(uint32_t), total) || !number(sizeof(uint32_t), pad)) {
        return false;
    }
    const size_t width = size_t{1} << ExOctetShift(header.tag);
    // In a fixed array a total of 0 says that there is no data, whatever the count is.
    const bool data = field.type == Type::counted_octets || total != 0;
    const uint64_t length = data ? uint64_t{header.length} * width : 0;
    if (length + pad > left() || pad > 3) {
        return fail("an octet string of " + std::to_string(length) + " bytes and " + std::to_string(pad) +
                    " of padding where " + std::to_string(left()) + " are left");
    }
    const std::span<const uint8_t> bytes(cursor_.next, static_cast<size_t>(length));
    cursor_.next += length + (data ? pad : 0);
    fields.push_back(
        {path, type,
         field.type == Type::text ? quoted(without_zeros(bytes)) : octets_text(bytes, header.length, width)});
    return true;
}

// NOLINTBEGIN(misc-no-recursion): records nest as deep as the catalogue says, whatever the packet.
bool PacketWalk::elements(Frame& frame, size_t index) {
    const uta::Field& field = uta::fields_of(frame.record)[index];
    const uta::Record& element = uta::c_records[field.record];
    const uint64_t count = frame.value_at(field.aux);
    if (count > left() / (element.min_wire == 0 ? size_t{1} : element.min_wire)) {
        return fail("a list of " + std::to_string(count) + " where " + std::to_string(left()) + " bytes are left");
    }
    std::vector<Fields> parts(static_cast<size_t>(count));
    for (size_t i = parts.size(); i-- > 0 && !stopped();) {
        record(element, frame.path_of(index) + "[" + std::to_string(i) + "]", parts[i]);
    }
    for (const Fields& part : parts) {
        frame.fields[index].insert(frame.fields[index].end(), part.begin(), part.end());
    }
    return !stopped();
}

bool PacketWalk::chosen(Frame& frame, size_t index) {
    const auto all = uta::fields_of(frame.record);
    const uint64_t choice = frame.value_at(all[index].aux);
    for (size_t i = index + 1; i < all.size() && all[i].type == Type::case_; ++i) {
        if (all[i].aux == choice) {
            return record(uta::c_records[all[i].record], frame.path_of(index) + "." + uta::field_name(frame.record, i),
                          frame.fields[index]);
        }
    }
    return true;
}

bool PacketWalk::field(Frame& frame, size_t index) {
    const uta::Field& field = uta::fields_of(frame.record)[index];
    const std::string path = frame.path_of(index);
    Fields& fields = frame.fields[index];
    if (uta::is_number(field.type)) {
        std::vector<std::string> parts(field.count);
        for (size_t i = field.count; i-- > 0;) {
            if (field.type == Type::flag) {
                uint64_t byte = 0;
                if (!number(1, byte)) {
                    return false;
                }
                frame.values[index] = byte == 0xFF ? 1 : 0;
            } else if (!number(uta::wire_width(field.type), frame.values[index])) {
                return false;
            }
            parts[i] = number_text(field.type, frame.values[index], uta::record_name(frame.record),
                                   uta::field_name(frame.record, index));
        }
        std::string value;
        for (const std::string& part : parts) {
            value += (value.empty() ? "" : ",") + part;
        }
        fields.push_back({path, field_type(field), value});
        return true;
    }
    switch (field.type) {
        case Type::record:
            if (field.count == 1) {
                return record(uta::c_records[field.record], path, fields);
            }
            for (size_t i = field.count; i-- > 0;) {
                Fields row;
                record(uta::c_records[field.record], path + "[" + std::to_string(i) + "]", row);
                fields.insert(fields.begin(), row.begin(), row.end());
                if (stopped()) {
                    return false;
                }
            }
            return true;
        case Type::optional:
            return pointed(uta::c_records[field.record], path, false, fields);
        case Type::elements:
            return elements(frame, index);
        case Type::union_:
            return chosen(frame, index);
        default:
            return octets(field, path, fields);
    }
}

// A record whose fields are not known is shown as its bytes; one without a header ends the walk, for its length is not
// known either.
bool PacketWalk::record(const uta::Record& record, const std::string& path, Fields& fields) {
    const std::string name = uta::record_name(record);
    const bool header = record.tag.count != 0;
    if (!header && !record.live) {
        unknown_ = true;
        return false;
    }
    const uint8_t* outer_end = cursor_.end;
    if (header && !enter(record.tag_number, name, outer_end, fields)) {
        return false;
    }
    if (!record.live) {
        fields.push_back({path, name, "[" + std::to_string(left()) + "]" + to_hex({cursor_.next, left()})});
        cursor_.next = cursor_.end;
        return leave(name, outer_end);
    }
    Frame frame(record, path);
    std::vector<size_t> order;
    uta::visit_wire_order(record, [&order](const uta::Field&, size_t index) { order.push_back(index); });
    for (size_t i = 0; i < order.size() && !stopped(); ++i) {
        field(frame, order[i]);
    }
    for (const Fields& part : frame.fields) {
        fields.insert(fields.end(), part.begin(), part.end());
    }
    return header ? leave(name, outer_end) : !stopped();
}

bool PacketWalk::pointed(const uta::Record& record, const std::string& path, bool presence, Fields& fields) {
    uint64_t present = 0;
    if (presence && !number(1, present)) {
        return false;
    }
    if (presence && present == c_absent) {
        fields.push_back({path, uta::record_name(record), "null"});
        return true;
    }
    if (!presence && at_null()) {
        cursor_.next += 2;
        fields.push_back({path, uta::record_name(record), "null"});
        return true;
    }
    return this->record(record, path, fields);
}

// NOLINTEND(misc-no-recursion)

// --- Functions -------------------------------------------------------------------------------------------------------

bool PacketWalk::parameter(const uta::Function& function, size_t index, bool presence, Fields& fields) {
    const uta::Parameter& parameter = uta::parameters_of(function)[index];
    const std::string name = uta::parameter_name(function, index);
    if (parameter.type == Type::record || parameter.type == Type::array) {
        return pointed(uta::c_records[parameter.aux], name, presence && parameter.type == Type::record, fields);
    }
    uint64_t value = 0;
    const uint8_t* outer_end = nullptr;
    const bool context = parameter.type == Type::context_id;
    const uta::Record& record = uta::record_of<UtaContextId>();
    if (context && !enter(record.tag_number, uta::record_name(record), outer_end, fields)) {
        return false;
    }
    if (!number(uta::wire_width(parameter.type), value) || (context && !leave(uta::record_name(record), outer_end))) {
        return false;
    }
    fields.push_back(
        {name, uta::type_name(parameter.type), number_text(parameter.type, value, uta::function_name(function), name)});
    return true;
}

bool PacketWalk::parameters(const uta::Function& function, Fields& fields) {
    const uint8_t* outer_end = cursor_.end;
    const bool header = (function.variation & uta::NO_HEADER) == 0;
    if (header && !enter(function.tag, uta::function_name(function), outer_end, fields)) {
        return false;
    }
    std::vector<Fields> parts(function.n_parameters);
    for (size_t i = parts.size(); i-- > 0 && !stopped();) {
        parameter(function, i, (function.variation & uta::PRESENCE) != 0, parts[i]);
    }
    for (const Fields& part : parts) {
        fields.insert(fields.end(), part.begin(), part.end());
    }
    return leave(uta::function_name(function), outer_end) && (left() == 0 || fail("bytes behind the function"));
}

bool PacketWalk::result(Fields& fields) {
    uint64_t value = 0;
    if (!number(sizeof(uint32_t), value)) {
        return false;
    }
    fields.push_back({"", "i32", std::to_string(static_cast<int32_t>(value))});
    return true;
}

bool PacketWalk::returned(const uta::Function& function, Fields& fields) {
    if (!result(fields)) {
        return false;
    }
    const auto all = uta::parameters_of(function);
    std::vector<Fields> parts(all.size());
    for (size_t i = all.size(); i-- > 0 && left() != 0 && !stopped();) {
        // Whether a return has presence bytes is nowhere told, and a record's header is easily told from one.
        const bool presence = (function.variation & uta::PRESENCE) != 0 && left() >= 2 && cursor_.next[0] == 0x02 &&
                              cursor_.next[1] == 0x01;
        if (all[i].output) {
            parameter(function, i, presence, parts[i]);
        }
    }
    for (const Fields& part : parts) {
        fields.insert(fields.end(), part.begin(), part.end());
    }
    return !stopped() && (left() == 0 || fail("bytes behind the output parameters"));
}
