// Prints packets of the UTA service, from the command line, from a capture, or as they go by.
#include <getopt.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

#include "host/modem/capture.h"
#include "host/modem/catalogue_print.h"
#include "host/modem/packet_print.h"
#include "host/modem/unix_socket.h"

namespace {

constexpr int c_exit_malformed = 1;
constexpr int c_exit_failed = 2;

constexpr const char* c_usage =
    "usage: uta-print [options] [HEX...]\n"
    "       uta-print [options] --file FILE\n"
    "       uta-print [options] --live [--socket PATH]\n"
    "       uta-print --catalogue\n"
    "\n"
    "Prints packets of the modem's UTA service, a line for each: time, client, direction (> to the modem), kind,\n"
    "function, context id, and every field by name. The packets are those in HEX; those of a capture that the modem\n"
    "wrote; those that go by at the modem's tap; or, without any of these, those on stdin, where each line is a "
    "packet\n"
    "in hexadecimal or a line of a capture. Why the library would drop a packet is shown\n"
    "behind !!.\n"
    "\n"
    "  --long        a line for each field, with its type\n"
    "  --no-heading  without the line that names the columns\n"
    "  --catalogue   print every function and every record instead\n"
    "  --help        print this\n"
    "\n"
    "Exit status: 0, 1 when a packet was malformed, 2 when something could not be opened or makes no sense.\n";

struct Options {
    PrintOptions print;
    bool heading = true;
    bool live = false;
    std::string file;
    std::string socket = c_tap_path;
};

struct Output {
    Options options;
    bool heading_done = false;
    bool malformed = false;

    void show(const Captured& captured, bool with_time) {
        PrintOptions print = options.print;
        print.with_time = with_time;
        if (options.heading && !heading_done) {
            fputs(print_heading(print).c_str(), stdout);
            heading_done = true;
        }
        for (const PrintedPacket& packet : read_captured(captured)) {
            fputs(print_packet(captured, packet, print).c_str(), stdout);
            malformed = malformed || !packet.malformed.empty();
        }
        fflush(stdout);
    }

    bool show_hex(const std::string& text) {
        const auto bytes = from_hex(text);
        if (!bytes || bytes->empty()) {
            fprintf(stderr, "uta-print: neither a packet in hexadecimal nor a line of a capture: %.60s\n",
                    text.c_str());
            return false;
        }
        show({0, 0, Channel::SEND, true, *bytes}, false);
        return true;
    }

    // Comments pass through, for they tell of lines that were lost; but for the capture's heading.
    bool show_line(const std::string& line) {
        if (line.find_first_not_of(" \t\r") == std::string::npos || line.starts_with(c_capture_heading)) {
            return true;
        }
        if (line.starts_with('#')) {
            printf("%s\n", line.c_str());
            return true;
        }
        if (const auto captured = parse_captured(line)) {
            show(*captured, true);
            return true;
        }
        return show_hex(line);
    }

    int status(bool good) const { return !good ? c_exit_failed : malformed ? c_exit_malformed : 0; }
};

int fail(const std::string& what) {
    fprintf(stderr, "uta-print: %s: %s\n", what.c_str(), strerror(errno));
    return c_exit_failed;
}

int print_stream(Output& output, std::istream& in) {
    bool good = true;
    for (std::string line; std::getline(in, line);) {
        good = output.show_line(line) && good;
    }
    return output.status(good);
}

int print_live(Output& output) {
    const int fd = connect_unix(output.options.socket);
    if (fd < 0) {
        return fail(output.options.socket);
    }
    bool good = true;
    std::string text;
    char bytes[4096];
    for (ssize_t got = 0; (got = read(fd, bytes, sizeof(bytes))) > 0;) {
        text.append(bytes, static_cast<size_t>(got));
        for (size_t end = 0; (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1)) {
            good = output.show_line(text.substr(0, end)) && good;
        }
        fflush(stdout);
    }
    close(fd);
    return output.status(good);
}

Options read_options(int argc, char** argv) {
    constexpr option c_options[] = {
        {"long", no_argument, nullptr, 'l'},         {"no-heading", no_argument, nullptr, 'n'},
        {"file", required_argument, nullptr, 'f'},   {"live", no_argument, nullptr, 't'},
        {"socket", required_argument, nullptr, 's'}, {"catalogue", no_argument, nullptr, 'c'},
        {"help", no_argument, nullptr, 'h'},         {nullptr, 0, nullptr, 0}};
    Options options;
    for (int letter = 0; (letter = getopt_long(argc, argv, "hlf:", c_options, nullptr)) != -1;) {
        switch (letter) {
            case 'l':
                options.print.one_field_a_line = true;
                break;
            case 'n':
                options.heading = false;
                break;
            case 'f':
                options.file = optarg;
                break;
            case 't':
                options.live = true;
                break;
            case 's':
                options.socket = optarg;
                break;
            case 'c':
                fputs(print_catalogue().c_str(), stdout);
                exit(0);
            case 'h':
                fputs(c_usage, stdout);
                exit(0);
            default:
                exit(c_exit_failed);
        }
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    Output output{.options = read_options(argc, argv)};
    if (output.options.live) {
        return print_live(output);
    }
    if (!output.options.file.empty()) {
        std::ifstream in(output.options.file);
        return in ? print_stream(output, in) : fail(output.options.file);
    }
    if (optind == argc) {
        return print_stream(output, std::cin);
    }
    std::string text;
    for (int i = optind; i < argc; ++i) {
        text += std::string(text.empty() ? "" : " ") + argv[i];
    }
    return output.status(output.show_hex(text));
}
