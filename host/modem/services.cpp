#include "host/modem/services.h"

Service apdus_service();
Service call_service();
Service callers_service();
Service card_service();
Service card_codes_service();
Service card_commands_service();
Service cbs_service();
Service clir_service();
Service cps_service();
Service dvp_service();
Service engineering_service();
Service net_service();
Service nvm_service();
Service packet_data_service();
Service radio_service();
Service sensors_service();
Service sms_service();
Service ss_service();
Service sys_service();
Service tones_service();
Service toolkit_service();
Service tx_power_service();

std::vector<Service> modem_services() {
    return {cps_service(),           sys_service(),        nvm_service(),     card_service(),    packet_data_service(),
            card_commands_service(), card_codes_service(), net_service(),     radio_service(),   call_service(),
            callers_service(),       ss_service(),         clir_service(),    tones_service(),   sms_service(),
            cbs_service(),           apdus_service(),      toolkit_service(), sensors_service(), dvp_service(),
            tx_power_service(),      engineering_service()};
}
