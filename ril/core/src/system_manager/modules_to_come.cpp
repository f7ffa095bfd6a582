#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/system_manager/modules.h"

[[gnu::weak]] void stk_module_init(uint32_t) {}
