#include "host/modem/services.h"

Service cps_service();
Service sys_service();

std::vector<Service> modem_services() {
    return {cps_service(), sys_service()};
}
