// The library's entry: RIL_Init and what it reads on the way.
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "ril/config/ril_config.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/entry/gate.h"
#include "ril/core/src/system_manager/system_manager.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

namespace {

char s_rild_instance[10];  // rild's; the library neither writes nor reads it

const RIL_RadioFunctions s_callbacks = {
    9, s_rild_instance, on_request, on_radio_state, on_supports, on_cancel, on_get_version,
};

// The second of two arguments in a row, the first of which begins with "--", selects the SIM: '1' or '2'. The last such
// pair wins; the program's name counts as an argument.
void find_instance(int argc, char** argv) {
    int i = 1;
    while (i < argc) {
        if (strncmp(argv[i - 1], "--", 2) != 0) {
            ++i;
            continue;
        }
        if (argv[i][0] == '2') {
            ril_instance = 1;
        } else if (argv[i][0] == '1') {
            ril_instance = 0;
        }
        i += 2;
    }
}

void install_signal_handler() {
    struct sigaction action {};
    action.sa_handler = qelril_signal_handler;
    sigemptyset(&action.sa_mask);
    sigaction(SIGUSR1, &action, nullptr);
}

// One word of the kernel's command line: no value of it is kept.
void modem_import_kernel_nv(char* word) {
    char* value = strchr(word, '=');
    if (value != nullptr) {
        *value = '\0';
    }
}

}  // namespace

const RIL_RadioFunctions* RIL_Init(const RIL_Env* env, int argc, char** argv) {
    static std::atomic<bool> s_called{false};
    if (s_called.exchange(true)) {
        RIL_TRACE(TRACE_ERROR, "%s: called again\n", __func__);
        return &s_callbacks;  // the same library and the same threads: a second start would take the first one's modem
    }
    find_instance(argc, argv);
    ril_config_init(argc, argv);
    s_ril_wait_init_sem = sys_sem_new(0);
    s_rilenv = env;
    install_signal_handler();
    RegisterRPCClient(mehHandler);
    modem_events_start();
    sys_sem_wait(s_ril_wait_init_sem);
    return &s_callbacks;
}

void import_kernel_cmdline() {
    FILE* file = fopen("/proc/cmdline", "re");
    if (file == nullptr) {
        return;
    }
    char text[1024];
    size_t length = fread(text, 1, sizeof(text) - 1, file);
    fclose(file);
    if (length > 0 && text[length - 1] == '\n') {
        --length;
    }
    text[length] = '\0';
    char* rest = text;
    for (char* word = strsep(&rest, " "); word != nullptr; word = strsep(&rest, " ")) {
        modem_import_kernel_nv(word);
    }
}
