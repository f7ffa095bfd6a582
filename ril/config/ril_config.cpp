#include "ril/config/ril_config.h"

#include <cutils/properties.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <span>

#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"

namespace {

constexpr size_t c_line_max = 256;

enum section : uint32_t { SECTION_NONE = 0, SECTION_TRACE = 1, SECTION_CONTROL = 2, SECTION_STRING = 3 };
enum control : uint32_t {
    XFDOR_MODE,
    XFDOR_DELAY_TIMER,
    XFDOR_SCRI_TIMER,
    GPRS_MAX_PDP_CONTEXT,
    RX_DIVERSITY_3G_ENABLE,
    RX_DIVERSITY_2G_DARP,
};

// A key of a section; a row's place is the setting's index.
struct setting {
    const char* name;
    int32_t value;
};

constexpr std::array<setting, 3> s_cfg_sections = {{
    {"trace", SECTION_TRACE},
    {"control", SECTION_CONTROL},
    {"string", SECTION_STRING},
}};

std::array<setting, 6> s_cfg_control_settings = {{
    {"xfdor_mode", 2},
    {"xfdor_delay_timer", 2},
    {"xfdor_scri_timer", 30},
    {"gprs_max_pdp_context", 1},
    {"RxDiversity3GEnable", 0},
    {"RxDiversity2GDARP", 1},
}};

constexpr std::array<const char*, 3> s_cfg_trace_keys = {"ril_log_level", "qelril_log_level", "nvm_log_level"};

std::array<setting, 2> s_cfg_string_settings = {{{"modem_dev_name_1", 0}, {"modem_dev_name_2", 0}}};
std::array<char*, s_cfg_string_settings.size()> p_cfg_string{};

uint32_t s_cfg_section_selected = SECTION_NONE;

// A decimal number, or hexadecimal behind "0x"; false if anything else is in the text. One beyond 32 bits gives the
// nearest that fits, whatever the size of a long.
bool parse_number(const char* text, int32_t& out) {
    const int base = strlen(text) > 2 && strncmp(text, "0x", 2) == 0 ? 16 : 10;
    char* end = nullptr;
    const long number = strtol(text, &end, base);
    if (end == text || *end != '\0') {
        return false;
    }
    out = static_cast<int32_t>(std::clamp<long>(number, INT32_MIN, INT32_MAX));
    return true;
}

int32_t check_ctrl_keyword_value(size_t index, int32_t number) {
    switch (index) {
        case XFDOR_MODE: {
            char value[PROPERTY_VALUE_MAX];
            property_get("persist.conformance", value, "");
            if (strcmp(value, "true") == 0) {
                return 0;
            }
            return number >= 1 && number <= 3 ? number : 2;
        }
        case XFDOR_DELAY_TIMER:
            return std::clamp(number, 1, 60);
        case XFDOR_SCRI_TIMER:
            return std::clamp(number, 1, 120);
        case GPRS_MAX_PDP_CONTEXT:
            return std::min(number, 2);
        default:
            return number;
    }
}

void set_string(size_t index, const char* keyword, const char* value) {
    const size_t size = strlen(value) + 1;
    auto* copy = static_cast<char*>(MEM_ALLOC(size));
    if (copy == nullptr) {
        RIL_TRACE(TRACE_ERROR, "Malloc Failled.!!! unable to extract config string keyword(%s) entry(%d)\n", keyword,
                  static_cast<int>(index));
        return;
    }
    memcpy(copy, value, size);
    if (p_cfg_string[index] != nullptr) {
        MEM_FREE(p_cfg_string[index]);
    }
    p_cfg_string[index] = copy;
    s_cfg_string_settings[index].value = 1;
}

// The index of `key` in a table of settings, or the table's size.
size_t find_key(std::span<const setting> settings, const char* key) {
    size_t index = 0;
    while (index < settings.size() && strcmp(settings[index].name, key) != 0) {
        ++index;
    }
    return index;
}

void parse_cfg_keyword(const char* key, const char* value) {
    int32_t number = 0;
    if (s_cfg_section_selected == SECTION_TRACE) {
        for (size_t entry = 0; entry < s_cfg_trace_keys.size(); ++entry) {
            if (strcmp(s_cfg_trace_keys[entry], key) == 0 && parse_number(value, number)) {
                s_cfg_trace_settings[entry] = static_cast<uint32_t>(number);
            }
        }
    } else if (s_cfg_section_selected == SECTION_CONTROL) {
        const size_t index = find_key(s_cfg_control_settings, key);
        if (index < s_cfg_control_settings.size() && parse_number(value, number)) {
            s_cfg_control_settings[index].value = check_ctrl_keyword_value(index, number);
        }
    } else if (s_cfg_section_selected == SECTION_STRING) {
        const size_t index = find_key(s_cfg_string_settings, key);
        if (index < s_cfg_string_settings.size()) {
            set_string(index, key, value);
        }
    }
}

void select_section(const char* name) {
    const size_t index = find_key(s_cfg_sections, name);
    s_cfg_section_selected =
        index < s_cfg_sections.size() ? static_cast<uint32_t>(s_cfg_sections[index].value) : SECTION_NONE;
}

void parse_line(std::span<const char> line) {
    std::array<char, c_line_max + 1> key{};
    std::array<char, c_line_max + 1> value{};
    size_t key_length = 0;
    size_t value_length = 0;
    bool in_value = false;
    bool in_section = false;
    for (size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (c == '#') {
            break;
        }
        if (c == ' ' || c == '\t') {
            continue;
        }
        if (c == '[') {
            in_section = in_section || i == 0;
        } else if (c == ']') {
            if (in_section) {
                if (key_length != 0) {
                    select_section(key.data());
                }
                return;
            }
        } else if (c == '=') {
            in_value = in_value || !in_section;
        } else if (in_value) {
            value[value_length++] = c;
        } else {
            key[key_length++] = c;
        }
    }
    if (in_value && key_length != 0 && value_length != 0) {
        parse_cfg_keyword(key.data(), value.data());
    }
}

// Cuts the file into lines of at most 256 characters. A last line without a newline is not one.
int32_t load_cfg_file(const char* path) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return -1;
    }
    std::array<char, c_line_max> chunk;
    std::array<char, c_line_max> line;
    size_t length = 0;
    for (ssize_t got = read(fd, chunk.data(), chunk.size()); got > 0; got = read(fd, chunk.data(), chunk.size())) {
        for (const char c : std::span(chunk).first(static_cast<size_t>(got))) {
            if (c != '\n') {
                line[length++] = c;
            }
            if (c == '\n' || length == line.size()) {
                parse_line(std::span(line).first(length));
                length = 0;
            }
        }
    }
    close(fd);
    return 0;
}

}  // namespace

int32_t ril_config_init(int argc, char** argv) {
    const char* path = "/system/etc/dun-ril/repository.txt";
    for (int i = 1; i + 1 < argc; ++i) {
        if (strcmp(argv[i], "-c") == 0) {
            path = argv[i + 1];
        }
    }
    return load_cfg_file(path);
}

uint32_t ril_config_fast_dormancy_screen_controlled() {
    return s_cfg_control_settings[XFDOR_MODE].value == 2 ? 1 : 0;
}

uint32_t ril_config_fast_dormancy_oem_controlled() {
    return s_cfg_control_settings[XFDOR_MODE].value == 1 ? 1 : 0;
}

int32_t ril_config_get_max_gprs_pdp_context() {
    return s_cfg_control_settings[GPRS_MAX_PDP_CONTEXT].value;
}

const char* ril_config_get_cfg_string(uint32_t index) {
    if (index >= p_cfg_string.size() || s_cfg_string_settings[index].value == 0) {
        RIL_TRACE(TRACE_ERROR, "%s: returning NULL\n", __func__);
        return nullptr;
    }
    return p_cfg_string[index];
}

ril_cfg_modem_values ril_config_get_modem_values() {
    return {s_cfg_control_settings[XFDOR_MODE].value,
            static_cast<uint8_t>(s_cfg_control_settings[XFDOR_DELAY_TIMER].value),
            static_cast<uint8_t>(s_cfg_control_settings[XFDOR_SCRI_TIMER].value),
            s_cfg_control_settings[RX_DIVERSITY_2G_DARP].value};
}
