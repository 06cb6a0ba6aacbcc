#include "platform/system_info.h"

// An ordinary machine has no product information; the caller's value stays as it is.

int system_info_get_custom_bool(const char*, bool*) {
    return -1;
}

int system_info_get_value_int(int, int*) {
    return -1;
}
