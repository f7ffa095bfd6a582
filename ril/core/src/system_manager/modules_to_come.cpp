#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/system_manager/modules.h"

[[gnu::weak]] void stk_module_init(uint32_t) {}
[[gnu::weak]] void em_module_init(uint32_t) {}
[[gnu::weak]] int32_t mtpm_init() {
    return 0;
}
