// Reads the parameters of a packet into printed fields.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "host/modem/packet_print.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue.h"

// One walk. When it fails, the fields that it has read are there, malformed() says why, and the rest of the packet is
// in rest(). When it comes to what the catalogue does not spell out, it stops there without a complaint.
class PacketWalk {
public:
    explicit PacketWalk(std::span<const uint8_t> packet);

    bool skip_header();  // of the packet
    bool context_id(uint32_t& context_id);
    // All parameters, behind the function header if there is one.
    bool parameters(const uta::Function& function, std::vector<PrintedField>& fields);
    // A return's value and output parameters.
    bool returned(const uta::Function& function, std::vector<PrintedField>& fields);
    // The return value alone, of a function that is not known.
    bool result(std::vector<PrintedField>& fields);

    const std::string& malformed() const { return complaint_; }
    std::span<const uint8_t> rest() const;

private:
    using Fields = std::vector<PrintedField>;
    struct Frame;  // of a record that is being read

    void complain(const std::string& reason);
    bool fail(const std::string& reason);
    bool stopped() const { return failed_ || unknown_; }
    size_t left() const { return static_cast<size_t>(cursor_.end - cursor_.next); }
    bool at_null() const;
    bool number(size_t width, uint64_t& value);
    bool enter(uint32_t tag, const std::string& what, const uint8_t*& outer_end, Fields& fields);
    bool leave(const std::string& what, const uint8_t* outer_end);
    bool parameter(const uta::Function& function, size_t index, bool presence, Fields& fields);
    bool pointed(const uta::Record& record, const std::string& path, bool presence, Fields& fields);
    bool record(const uta::Record& record, const std::string& path, Fields& fields);
    bool field(Frame& frame, size_t index);
    bool octets(const uta::Field& field, const std::string& path, Fields& fields);
    bool elements(Frame& frame, size_t index);
    bool chosen(Frame& frame, size_t index);

    std::span<const uint8_t> packet_;
    ExReadCursor cursor_;
    std::string complaint_;
    bool failed_ = false;
    bool unknown_ = false;
};
