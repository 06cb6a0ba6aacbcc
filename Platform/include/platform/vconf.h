/* The settings store: typed values under text keys. Any thread. */
#ifndef PLATFORM_VCONF_H
#define PLATFORM_VCONF_H

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _keynode_t keynode_t; /* opaque; valid during the callback that receives it */

/* A change notice; arrives through the process's main loop. */
typedef void (*vconf_callback_fn)(keynode_t* node, void* user_data);

int vconf_get_int(const char* key, int* value);        /* 0 on success */
int vconf_get_bool(const char* key, int* value);       /* 0 on success */
char* vconf_get_str(const char* key);                  /* malloc'd, the caller frees; NULL on failure */
int vconf_set_int(const char* key, int value);         /* 0 on success */
int vconf_set_str(const char* key, const char* value); /* 0 on success */
int vconf_notify_key_changed(const char* key, vconf_callback_fn callback, void* user_data); /* -1 on failure */
int vconf_ignore_key_changed(const char* key, vconf_callback_fn callback);
int vconf_keynode_get_int(keynode_t* node);
int vconf_keynode_get_bool(keynode_t* node);

#ifdef __cplusplus
}
#endif

#endif
