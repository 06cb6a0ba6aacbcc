/* Product information. Any thread. */
#ifndef PLATFORM_SYSTEM_INFO_H
#define PLATFORM_SYSTEM_INFO_H

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

int system_info_get_custom_bool(const char* key, bool* value); /* 0 on success */
int system_info_get_value_int(int key, int* value);            /* 0 on success */

#ifdef __cplusplus
}
#endif

#endif
