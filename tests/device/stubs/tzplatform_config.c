#include "platform/tzplatform_config.h"

const char* tzplatform_getenv(int id) {
    (void)id;
    return "/nonexistent";
}
