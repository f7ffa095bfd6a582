#include "host/modem/catalogue_print.h"

#include <algorithm>

#include "host/modem/capture_format.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

namespace {

constexpr const char* c_heading =
    "# function ID TAG KIND VARIATION NAME (TYPE NAME, ...)\n"
    "#   KIND call, request, one-way, response, indication; with -ignored or -dynamic behind it\n"
    "#   VARIATION plain, or any of no-header, presence, enum-result joined by +\n"
    "#   TYPE a number type, ctx, or a record with its size on i386; > before an output parameter; pending behind the\n"
    "#   closing bracket when a record of the function is not spelled out\n"
    "# record NAME TAG SIZE BYTES STATE\n"
    "#   TAG - for a record without a header; SIZE on i386, - when not known; BYTES the tag on the wire; STATE live,\n"
    "#   with its fields in wire order in the lines below it, or pending\n"
    "# field RECORD TYPE NAME\n"
    "#   TYPE[n] an octet string of n elements; TYPE*n a row of n; RECORD? a pointer that may be null, 05 00 then;\n"
    "#   octets:NAME and RECORD:NAME as many as the field NAME says; union:NAME the case that the field NAME says\n"
    "# case RECORD VALUE TYPE NAME\n";

std::string variation_words(uint8_t variation) {
    std::string text;
    const auto add = [&text, variation](uta::Variation bit, const char* word) {
        if ((variation & bit) != 0) {
            text += (text.empty() ? "" : "+") + std::string(word);
        }
    };
    add(uta::NO_HEADER, "no-header");
    add(uta::PRESENCE, "presence");
    add(uta::ENUM_RESULT, "enum-result");
    add(uta::MAY_BE_NULL, "may-be-null");
    return text.empty() ? "plain" : text;
}

std::string print_function(const uta::Function& function) {
    std::string text = "function " + std::to_string(function.id) + " " + std::to_string(function.tag) + " " +
                       kind_word(function.kind) + " " + variation_words(function.variation) + " " +
                       uta::function_name(function) + " (";
    const auto parameters = uta::parameters_of(function);
    for (size_t i = 0; i < parameters.size(); ++i) {
        text += (i == 0 ? "" : ", ") + std::string(parameters[i].output ? ">" : "") + parameter_type(parameters[i]);
        if (parameters[i].type == uta::Type::record || parameters[i].type == uta::Type::array) {
            text += "(" + std::to_string(uta::c_records[parameters[i].aux].size_i386) + ")";
        }
        text += std::string(" ") + uta::parameter_name(function, i);
    }
    return text + (function.pending ? ") pending\n" : ")\n");
}

std::string counting_field(const uta::Record& record, const uta::Field& field) {
    const auto fields = uta::fields_of(record);
    for (size_t i = 0; i < fields.size(); ++i) {
        if (uta::is_number(fields[i].type) && fields[i].offset == field.aux) {
            return std::string(":") + uta::field_name(record, fields[i]);
        }
    }
    return ":?";
}

std::string print_field(const uta::Record& record, const uta::Field& field, size_t index) {
    const std::string name = uta::record_name(record);
    std::string type = field_type(field);
    if (field.type == uta::Type::counted_octets || field.type == uta::Type::elements ||
        field.type == uta::Type::union_) {
        type += counting_field(record, field);
    }
    std::string text = "field " + name + " " + type + " " + uta::field_name(record, field) + "\n";
    const auto fields = uta::fields_of(record);
    for (size_t i = index + 1; i < fields.size() && fields[i].type == uta::Type::case_; ++i) {
        text += "case " + name + " " + std::to_string(fields[i].aux) + " " +
                uta::record_name(uta::c_records[fields[i].record]) + " " + uta::field_name(record, fields[i]) + "\n";
    }
    return text;
}

std::string print_record(const uta::Record& record) {
    const bool plain = record.tag.count == 0;
    std::string text =
        std::string("record ") + uta::record_name(record) + " " + (plain ? "-" : std::to_string(record.tag_number)) +
        " " + (record.size_i386 == 0 ? "-" : std::to_string(record.size_i386)) + " " +
        (plain ? "-" : "7F" + to_hex({record.tag.bytes, record.tag.count})) + (record.live ? " live\n" : " pending\n");
    if (record.live) {
        const auto fields = uta::fields_of(record);
        for (size_t i = fields.size(); i-- > 0;) {
            if (fields[i].type != uta::Type::case_ && fields[i].type != uta::Type::memory) {
                text += print_field(record, fields[i], i);
            }
        }
    }
    return text;
}

}  // namespace

std::string kind_word(uta::Kind kind) {
    switch (kind) {
        case uta::Kind::CALL:
            return "call";
        case uta::Kind::REQUEST:
            return "request";
        case uta::Kind::ONE_WAY:
            return "one-way";
        case uta::Kind::RESPONSE:
            return "response";
        case uta::Kind::INDICATION:
            return "indication";
        case uta::Kind::IGNORED_RESPONSE:
            return "response-ignored";
        case uta::Kind::IGNORED_INDICATION:
            return "indication-ignored";
        case uta::Kind::DYNAMIC_RESPONSE:
            return "response-dynamic";
        case uta::Kind::DYNAMIC_INDICATION:
            return "indication-dynamic";
    }
    return "?";
}

std::string parameter_type(const uta::Parameter& parameter) {
    if (parameter.type == uta::Type::record || parameter.type == uta::Type::array) {
        return uta::record_name(uta::c_records[parameter.aux]);
    }
    return uta::type_name(parameter.type);
}

std::string field_type(const uta::Field& field) {
    const std::string count = std::to_string(field.count);
    switch (field.type) {
        case uta::Type::record:
            return uta::record_name(uta::c_records[field.record]) + (field.count > 1 ? "*" + count : "");
        case uta::Type::optional:
            return std::string(uta::record_name(uta::c_records[field.record])) + "?";
        case uta::Type::elements:
            return uta::record_name(uta::c_records[field.record]);
        case uta::Type::counted_octets:
            return "octets";
        case uta::Type::octets:
        case uta::Type::text:
        case uta::Type::octets16:
            return std::string(uta::type_name(field.type)) + "[" + count + "]";
        default:
            return uta::type_name(field.type) + (field.count > 1 ? "*" + count : "");
    }
}

std::string print_catalogue() {
    std::string text = c_heading;
    std::vector<const uta::Function*> functions;
    functions.reserve(uta::c_functions.size());
    for (const uta::Function& function : uta::c_functions) {
        functions.push_back(&function);
    }
    std::sort(functions.begin(), functions.end(), [](const auto* a, const auto* b) { return a->id < b->id; });
    for (const uta::Function* function : functions) {
        text += print_function(*function);
    }
    for (const uta::Record& record : uta::c_records) {
        text += print_record(record);
    }
    return text;
}
