/* No setting is set, and none ever changes. */
#include "platform/vconf.h"

#include <stddef.h>

int vconf_get_int(const char* key, int* value) {
    (void)key, (void)value;
    return -1;
}
int vconf_get_bool(const char* key, int* value) {
    (void)key, (void)value;
    return -1;
}
char* vconf_get_str(const char* key) {
    (void)key;
    return NULL;
}
int vconf_set_int(const char* key, int value) {
    (void)key, (void)value;
    return 0;
}
int vconf_set_str(const char* key, const char* value) {
    (void)key, (void)value;
    return 0;
}
int vconf_notify_key_changed(const char* key, vconf_callback_fn callback, void* user_data) {
    (void)key, (void)callback, (void)user_data;
    return 0;
}
int vconf_ignore_key_changed(const char* key, vconf_callback_fn callback) {
    (void)key, (void)callback;
    return 0;
}
int vconf_keynode_get_int(keynode_t* node) {
    (void)node;
    return 0;
}
int vconf_keynode_get_bool(keynode_t* node) {
    (void)node;
    return 0;
}
