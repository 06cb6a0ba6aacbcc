#include "platform/system_info.h"

int system_info_get_custom_bool(const char* key, bool* value) {
    (void)key, (void)value;
    return -1;
}
int system_info_get_value_int(int key, int* value) {
    (void)key, (void)value;
    return -1;
}
