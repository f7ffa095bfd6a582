// prop get KEY [DEFAULT] | prop set KEY VALUE: reads and writes a system property. Exit status 1 when it is refused.
#include <cutils/properties.h>

#include <cstdio>
#include <string_view>

int main(int argc, char** argv) {
    const std::string_view verb = argc > 1 ? argv[1] : "";
    if (verb == "get" && (argc == 3 || argc == 4)) {
        char value[PROPERTY_VALUE_MAX];
        property_get(argv[2], value, argc == 4 ? argv[3] : nullptr);
        std::puts(value);
        return 0;
    }
    if (verb == "set" && argc == 4) {
        return property_set(argv[2], argv[3]) == 0 ? 0 : 1;
    }
    std::fputs("usage: prop get KEY [DEFAULT]\n       prop set KEY VALUE\n", stderr);
    return 2;
}
